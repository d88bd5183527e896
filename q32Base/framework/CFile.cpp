#include "q32Base/framework/CFile.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace {

/// The result of a stream call, or the cause for a file that isn't open.
template <typename Call>
CQ_FILE_CAUSE fnAsk(const std::unique_ptr<CqFileStream>& stream, Call&& call) {
    return stream ? q32::fnGuardMemory([&] { return call(*stream); }) : FILE_CAUSE_INVALID;
}

} // namespace

CFile::CFile(const char* fileName, unsigned int flags) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    if (!Open(fileName, flags, &cause))
        AfxThrowFileException(cause, fileName);
}

CFile::~CFile() = default;

bool CFile::Open(const char* fileName, unsigned int flags, CQ_FILE_CAUSE* cause) {
    CqFileMode mode;
    mode.m_bRead = (flags & 3) != modeWrite;
    mode.m_bWrite = (flags & 3) != modeRead;
    mode.m_bCreate = (flags & modeCreate) != 0;
    mode.m_bExclusive = (flags & 0x70) == shareExclusive;
    CString name(fileName);
    CQ_FILE_CAUSE result = FILE_CAUSE_NONE;
    std::unique_ptr<CqFileStream> stream;
    if (q32::fnHasPlatform())
        stream = q32::fnGuardMemory(
            [&] { return q32::fnPlatform().m_pFiles->fnOpen(name, mode, result); });
    if (!stream && result == FILE_CAUSE_NONE)
        result = FILE_CAUSE_GENERIC;
    if (cause)
        *cause = result;
    if (!stream)
        return false;
    m_pStream = std::move(stream);
    m_strFileName = name;
    return true;
}

std::size_t CFile::Read(void* buffer, std::size_t count) {
    std::size_t done = 0;
    fnCheck(fnAsk(m_pStream, [&](CqFileStream& s) { return s.fnRead(buffer, count, done); }));
    return done;
}

void CFile::Write(const void* buffer, std::size_t count) {
    fnCheck(fnAsk(m_pStream, [&](CqFileStream& s) { return s.fnWrite(buffer, count); }));
}

void CFile::Seek(std::uint64_t position) {
    fnCheck(fnAsk(m_pStream, [&](CqFileStream& s) { return s.fnSeek(position); }));
}

std::uint64_t CFile::GetLength() {
    std::uint64_t length = 0;
    fnCheck(fnAsk(m_pStream, [&](CqFileStream& s) { return s.fnGetLength(length); }));
    return length;
}

void CFile::Close() {
    if (!m_pStream)
        return;
    const auto stream = std::move(m_pStream);
    fnCheck(fnAsk(stream, [](CqFileStream& s) { return s.fnClose(); }));
}

void CFile::fnCheck(CQ_FILE_CAUSE cause) const {
    if (cause != FILE_CAUSE_NONE)
        AfxThrowFileException(cause, m_strFileName);
}

CMemFile::CMemFile(const void* bytes, std::size_t count) {
    Write(bytes, count);
    m_nPosition = 0;
}

CMemFile::~CMemFile() {
    delete[] m_pBytes;
}

std::size_t CMemFile::Read(void* buffer, std::size_t count) {
    const std::size_t done = std::min(count, m_nLength - std::min(m_nPosition, m_nLength));
    if (done > 0)
        std::memcpy(buffer, m_pBytes + m_nPosition, done);
    m_nPosition += done;
    return done;
}

void CMemFile::Write(const void* buffer, std::size_t count) {
    if (count == 0)
        return;
    if (count > SIZE_MAX / 4 || m_nPosition > SIZE_MAX / 4)
        AfxThrowMemoryException();
    fnGrow(m_nPosition + count);
    std::memcpy(m_pBytes + m_nPosition, buffer, count);
    m_nPosition += count;
    m_nLength = std::max(m_nLength, m_nPosition);
}

void CMemFile::Seek(std::uint64_t position) {
    m_nPosition = static_cast<std::size_t>(position);
}

void CMemFile::fnGrow(std::size_t needed) {
    assert(m_nLength <= m_nCapacity && (m_nCapacity == 0) == !m_pBytes);
    if (needed <= m_nCapacity)
        return;
    const std::size_t capacity = std::max(needed, 2 * m_nCapacity);
    auto* grown = q32::fnNewArray<unsigned char>(capacity);
    std::memset(grown, 0, capacity);
    if (m_nLength > 0)
        std::memcpy(grown, m_pBytes, m_nLength);
    delete[] m_pBytes;
    m_pBytes = grown;
    m_nCapacity = capacity;
}
