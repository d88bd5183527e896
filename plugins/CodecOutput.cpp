#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace q32 {

CodecOutput::CodecOutput(const char* path)
    : m_pBlock(std::make_unique_for_overwrite<unsigned char[]>(kBlock)) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    m_pFile = fnPlatform().m_pFiles->fnOpenReplacement(path, cause);
    if (!m_pFile)
        throw CodecFailure{MESSAGE_CANNOT_SAVE};
    m_pStream = &m_pFile->fnGetStream();
}

template <typename Work>
bool CodecOutput::fnTry(const Work& work) noexcept {
    if (!m_bFailed && !fnTryMemory(work))
        m_bFailed = true;
    return !m_bFailed;
}

bool CodecOutput::fnFlush() noexcept {
    if (m_nFilled == 0)
        return !m_bFailed;
    const bool done =
        fnTry([this] { return m_pStream->fnWrite(m_pBlock.get(), m_nFilled) == FILE_CAUSE_NONE; });
    m_nBase += m_nFilled;
    m_nWritten = std::max(m_nWritten, m_nBase);
    m_nFilled = 0;
    return done;
}

bool CodecOutput::fnWrite(const void* bytes, std::size_t count) noexcept {
    const auto* in = static_cast<const unsigned char*>(bytes);
    assert(m_nFilled <= kBlock);
    while (count > 0) {
        if (m_nFilled == kBlock && !fnFlush())
            return false;
        const std::size_t piece = std::min(count, kBlock - m_nFilled);
        std::memcpy(m_pBlock.get() + m_nFilled, in, piece);
        m_nFilled += piece;
        in += piece;
        count -= piece;
    }
    return !m_bFailed;
}

std::size_t CodecOutput::fnRead(void* out, std::size_t count) noexcept {
    std::size_t done = 0;
    if (fnSeek(fnGetPosition()))
        fnTry([&] { return m_pStream->fnRead(out, count, done) == FILE_CAUSE_NONE; });
    m_nBase += done;
    return done;
}

bool CodecOutput::fnSeek(std::uint64_t position) noexcept {
    if (!fnFlush() || !fnTry([&] { return m_pStream->fnSeek(position) == FILE_CAUSE_NONE; }))
        return false;
    m_nBase = position;
    return true;
}

std::uint64_t CodecOutput::fnGetLength() const noexcept {
    return std::max(m_nWritten, fnGetPosition());
}

void CodecOutput::fnCommit() {
    fnFlush();
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const bool done = fnTry([&] {
        cause = m_pFile->fnCommit();
        return cause == FILE_CAUSE_NONE;
    });
    if (!done)
        throw CodecFailure{cause == FILE_CAUSE_SHARING_VIOLATION ? MESSAGE_IN_USE
                                                                 : MESSAGE_CANNOT_SAVE};
}

} // namespace q32
