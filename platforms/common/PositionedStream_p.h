#pragma once

#include "q32Base/platform/CqFileService.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace q32 {

/// A stream on an open file that its system reads and writes at given positions.
/// @tparam File         owns the open file
/// @tparam fnReadAt     reads up to `count` bytes at an offset, fewer only at the end of the file;
///                      nothing on failure
/// @tparam fnWriteAt    writes all bytes at an offset
/// @tparam fnLastCause  the cause of what failed last
template <typename File, auto fnReadAt, auto fnWriteAt, auto fnLastCause>
class PositionedStream : public CqFileStream {
public:
    PositionedStream(File file, const CqFileMode& mode) : m_File(std::move(file)), m_Mode(mode) {}

    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override {
        done = 0;
        if (!m_File)
            return FILE_CAUSE_INVALID;
        if (!m_Mode.m_bRead)
            return FILE_CAUSE_ACCESS_DENIED;
        const auto got = fnReadAt(m_File, buffer, count, m_nPosition);
        if (!got)
            return fnLastCause();
        assert(*got <= count);
        done = *got;
        m_nPosition += done;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) override {
        if (!m_File)
            return FILE_CAUSE_INVALID;
        if (!m_Mode.m_bWrite)
            return FILE_CAUSE_ACCESS_DENIED;
        if (!fnWriteAt(m_File, buffer, count, m_nPosition))
            return fnLastCause();
        m_nPosition += count;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override {
        if (!m_File)
            return FILE_CAUSE_INVALID;
        if (position > static_cast<std::uint64_t>(INT64_MAX))
            return FILE_CAUSE_BAD_SEEK;
        m_nPosition = position;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnClose() override {
        if (!m_File)
            return FILE_CAUSE_INVALID;
        return m_File.fnClose() ? FILE_CAUSE_NONE : fnLastCause();
    }

    const File& fnGetFile() const { return m_File; }

protected:
    File m_File;

private:
    CqFileMode m_Mode;
    std::uint64_t m_nPosition = 0;
};

} // namespace q32
