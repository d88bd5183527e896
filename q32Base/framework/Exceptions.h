/// @file
/// The exceptions of the library, and the functions that raise them.
#pragma once

#include "q32Base/framework/CObject.h"

/// Base of the exceptions. They are thrown as pointers; a handler that doesn't rethrow one calls
/// its `Delete`.
class Q32_API CException : public CObject {
public:
    static const CRuntimeClass classCException;
    const CRuntimeClass* GetRuntimeClass() const override;

    /// Frees the exception if it was allocated for one throw.
    void Delete();

protected:
    /// `autoDelete`: allocated for one throw, so that `Delete` frees it.
    explicit CException(bool autoDelete) : m_bAutoDelete(autoDelete) {}

private:
    bool m_bAutoDelete;
};

/// Memory, or space for pixels, is exhausted. Preallocated: raising it allocates nothing.
class Q32_API CMemoryException final : public CException {
public:
    static const CRuntimeClass classCMemoryException;
    const CRuntimeClass* GetRuntimeClass() const override;
    CMemoryException() : CException(false) {}
};

/// A resource is missing or can't be read. Preallocated.
class Q32_API CResourceException final : public CException {
public:
    static const CRuntimeClass classCResourceException;
    const CRuntimeClass* GetRuntimeClass() const override;
    CResourceException() : CException(false) {}
};

/// An archive ended early or was used against its direction.
class Q32_API CArchiveException final : public CException {
public:
    /// What went wrong.
    enum CAUSE {
        none,             ///< no failure
        genericException, ///< any other reason
        readOnly,         ///< writing while loading
        endOfFile,        ///< the file ended within a value
        writeOnly         ///< reading while storing
    };

    static const CRuntimeClass classCArchiveException;
    const CRuntimeClass* GetRuntimeClass() const override;
    /// For one throw; see `AfxThrowArchiveException`.
    explicit CArchiveException(CAUSE cause) : CException(true), m_cause(cause) {}

    CAUSE m_cause; ///< what went wrong
};

/// Throw the exceptions; if one can't be allocated, the memory exception instead.
[[noreturn]] Q32_API void AfxThrowMemoryException();
[[noreturn]] Q32_API void AfxThrowResourceException();
[[noreturn]] Q32_API void AfxThrowArchiveException(CArchiveException::CAUSE cause);
