#include "q32Base/framework/Exceptions.h"

#include <new>

namespace {

CMemoryException theMemoryException;
CResourceException theResourceException;

} // namespace

const CRuntimeClass CException::classCException = {"CException", sizeof(CException), 0xFFFF,
                                                   nullptr, &CObject::classCObject};
const CRuntimeClass CMemoryException::classCMemoryException = {
    "CMemoryException", sizeof(CMemoryException), 0xFFFF, nullptr, &CException::classCException};
const CRuntimeClass CResourceException::classCResourceException = {
    "CResourceException", sizeof(CResourceException), 0xFFFF, nullptr,
    &CException::classCException};
const CRuntimeClass CArchiveException::classCArchiveException = {
    "CArchiveException", sizeof(CArchiveException), 0xFFFF, nullptr, &CException::classCException};

const CRuntimeClass* CException::GetRuntimeClass() const {
    return &classCException;
}

void CException::Delete() {
    if (m_bAutoDelete)
        delete this;
}

const CRuntimeClass* CMemoryException::GetRuntimeClass() const {
    return &classCMemoryException;
}

const CRuntimeClass* CResourceException::GetRuntimeClass() const {
    return &classCResourceException;
}

const CRuntimeClass* CArchiveException::GetRuntimeClass() const {
    return &classCArchiveException;
}

void AfxThrowMemoryException() {
    throw &theMemoryException;
}

void AfxThrowResourceException() {
    throw &theResourceException;
}

void AfxThrowArchiveException(CArchiveException::CAUSE cause) {
    auto* exception = new (std::nothrow) CArchiveException(cause);
    if (!exception)
        AfxThrowMemoryException();
    throw exception;
}
