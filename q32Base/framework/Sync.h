#pragma once

#include <mutex>

/// A recursive lock within the process.
class CCriticalSection {
public:
    void Lock() { m_Mutex.lock(); }
    void Unlock() { m_Mutex.unlock(); }

private:
    std::recursive_mutex m_Mutex;
};

/// Holds a lock for the life of a scope. The constructor acquires it.
class CSingleLock {
public:
    explicit CSingleLock(CCriticalSection& section) : m_Section(section) { Lock(); }
    ~CSingleLock() { Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    void Lock() {
        if (!m_bLocked)
            m_Section.Lock();
        m_bLocked = true;
    }
    void Unlock() {
        if (m_bLocked)
            m_Section.Unlock();
        m_bLocked = false;
    }
    bool IsLocked() const { return m_bLocked; }

private:
    CCriticalSection& m_Section;
    bool m_bLocked = false;
};
