#include "q32Base/framework/CFileException.h"

#include <new>

const CRuntimeClass CFileException::classCFileException = {
    "CFileException", sizeof(CFileException), 0xFFFF, nullptr, &CException::classCException};

CFileException::CFileException(CQ_FILE_CAUSE cause, const char* fileName)
    : CException(true), m_cause(cause), m_strFileName(fileName) {}

const CRuntimeClass* CFileException::GetRuntimeClass() const {
    return &classCFileException;
}

void AfxThrowFileException(CQ_FILE_CAUSE cause, const char* fileName) {
    auto* exception = new (std::nothrow) CFileException(cause, fileName);
    if (!exception)
        AfxThrowMemoryException();
    throw exception;
}
