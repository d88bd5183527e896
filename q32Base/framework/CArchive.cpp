#include "q32Base/framework/CArchive.h"

#include <algorithm>
#include <cassert>
#include <cstring>

CArchive::CArchive(CFile* file, Mode mode) : m_pFile(file), m_eMode(mode) {}

CArchive::~CArchive() {
    try {
        Close();
    } catch (CException* failure) {
        failure->Delete();
    }
}

std::size_t CArchive::Read(void* buffer, std::size_t count) {
    if (!IsLoading())
        AfxThrowArchiveException(CArchiveException::writeOnly);
    auto* out = static_cast<unsigned char*>(buffer);
    std::size_t done = 0;
    while (done < count) {
        assert(m_nTaken <= m_nUsed && m_nUsed <= sizeof(m_Buffer));
        if (m_nTaken == m_nUsed) {
            m_nTaken = 0;
            m_nUsed = 0;
            m_nUsed = m_pFile ? m_pFile->Read(m_Buffer, sizeof(m_Buffer)) : 0;
            if (m_nUsed == 0)
                break;
        }
        const std::size_t part = std::min(count - done, m_nUsed - m_nTaken);
        std::memcpy(out + done, m_Buffer + m_nTaken, part);
        m_nTaken += part;
        done += part;
    }
    return done;
}

void CArchive::Write(const void* buffer, std::size_t count) {
    if (!IsStoring())
        AfxThrowArchiveException(CArchiveException::readOnly);
    const auto* in = static_cast<const unsigned char*>(buffer);
    while (count > 0) {
        assert(m_nUsed <= sizeof(m_Buffer));
        if (m_nUsed == sizeof(m_Buffer))
            Flush();
        const std::size_t part = std::min(count, sizeof(m_Buffer) - m_nUsed);
        std::memcpy(m_Buffer + m_nUsed, in, part);
        m_nUsed += part;
        in += part;
        count -= part;
    }
}

void CArchive::Flush() {
    if (!IsStoring() || m_nUsed == 0 || !m_pFile)
        return;
    const std::size_t used = m_nUsed;
    m_nUsed = 0; // a failed write is reported once
    m_pFile->Write(m_Buffer, used);
}

void CArchive::Close() {
    Flush();
    m_pFile = nullptr;
}

CArchive& CArchive::operator>>(std::uint8_t& value) {
    value = static_cast<std::uint8_t>(fnGet(1));
    return *this;
}

CArchive& CArchive::operator>>(std::uint16_t& value) {
    value = static_cast<std::uint16_t>(fnGet(2));
    return *this;
}

CArchive& CArchive::operator>>(std::uint32_t& value) {
    value = static_cast<std::uint32_t>(fnGet(4));
    return *this;
}

CArchive& CArchive::operator>>(std::int32_t& value) {
    value = static_cast<std::int32_t>(static_cast<std::uint32_t>(fnGet(4)));
    return *this;
}

CArchive& CArchive::operator>>(double& value) {
    value = std::bit_cast<double>(fnGet(8));
    return *this;
}

CArchive& CArchive::fnPut(std::uint64_t value, std::size_t bytes) {
    unsigned char raw[8];
    assert(bytes <= sizeof(raw));
    for (std::size_t i = 0; i < bytes; ++i)
        raw[i] = static_cast<unsigned char>(value >> (8 * i));
    Write(raw, bytes);
    return *this;
}

std::uint64_t CArchive::fnGet(std::size_t bytes) {
    unsigned char raw[8];
    assert(bytes <= sizeof(raw));
    if (Read(raw, bytes) != bytes)
        AfxThrowArchiveException(CArchiveException::endOfFile);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        value |= static_cast<std::uint64_t>(raw[i]) << (8 * i);
    return value;
}
