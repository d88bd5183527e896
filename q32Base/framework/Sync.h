/// @file
/// A recursive lock, and its holder for a scope.
#pragma once

#include <mutex>

/// A recursive lock within the process.
class CCriticalSection {
public:
    /// Waits until no other thread holds the lock, and acquires it. The thread that holds it may
    /// lock it again.
    void Lock() { m_Mutex.lock(); }
    /// Releases the lock, in the thread that holds it, once for each `Lock`.
    void Unlock() { m_Mutex.unlock(); }

private:
    std::recursive_mutex m_Mutex;
};

/// Holds a lock for the life of a scope. The constructor acquires it.
class CSingleLock {
public:
    /// Waits for the section, which must outlive this object.
    explicit CSingleLock(CCriticalSection& section) : m_Section(section) { Lock(); }
    ~CSingleLock() { Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    /// Acquires the lock again after `Unlock`; does nothing while it is held.
    void Lock() {
        if (!m_bLocked)
            m_Section.Lock();
        m_bLocked = true;
    }
    /// Releases the lock before the end of the scope; does nothing unless it is held.
    void Unlock() {
        if (m_bLocked)
            m_Section.Unlock();
        m_bLocked = false;
    }
    /// Whether this object holds the lock.
    bool IsLocked() const { return m_bLocked; }

private:
    CCriticalSection& m_Section;
    bool m_bLocked = false;
};
