#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/platform/CqFileService.h"

/// A file operation failed.
class Q32_API CFileException final : public CException {
public:
    static const CRuntimeClass classCFileException;
    const CRuntimeClass* GetRuntimeClass() const override;
    /// Raises the memory exception if the name can't be copied. A null name counts as empty.
    CFileException(CQ_FILE_CAUSE cause, const char* fileName);

    CQ_FILE_CAUSE m_cause; ///< why it failed
    CString m_strFileName; ///< the file's name as the host gave it; empty if it isn't known
};

/// Throws a CFileException, or the memory exception if that can't be allocated.
[[noreturn]] Q32_API void AfxThrowFileException(CQ_FILE_CAUSE cause,
                                                const char* fileName = nullptr);
