#include "plugins/CodecInput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>

namespace q32 {

CodecInput::CodecInput(const char* path)
    : m_pBlock(std::make_unique_for_overwrite<unsigned char[]>(kBlock)) {
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    m_pStream = fnPlatform().m_pFiles->fnOpen(path, CqFileMode{}, cause);
    if (!m_pStream)
        throw CodecFailure{cause == FILE_CAUSE_SHARING_VIOLATION ||
                                   cause == FILE_CAUSE_LOCK_VIOLATION
                               ? MESSAGE_IN_USE
                               : MESSAGE_CANNOT_OPEN};
    if (m_pStream->fnGetLength(m_nLength) != FILE_CAUSE_NONE)
        throw CodecFailure{MESSAGE_CANNOT_READ};
}

bool CodecInput::fnReport() noexcept {
    try {
        if (m_pReports)
            ++*m_pReports;
        else if (m_pSteps)
            m_pSteps->fnTick();
        return true;
    } catch (...) {
        m_pStop = std::current_exception();
        return false;
    }
}

bool CodecInput::fnFill() noexcept {
    const std::uint64_t place = fnGetPosition();
    // A corrupt file may name an offset to which no stream can seek.
    if (m_bFailed || place >= m_nLength)
        return false;
    m_bFailed = !fnReport();
    if (m_bFailed)
        return false;
    std::size_t done = 0;
    m_bFailed = !fnTryMemory([&] {
        return (!m_bMoved || m_pStream->fnSeek(place) == FILE_CAUSE_NONE) &&
               m_pStream->fnRead(m_pBlock.get(), kBlock, done) == FILE_CAUSE_NONE;
    });
    m_bMoved = false;
    m_nBase = place;
    m_nNext = 0;
    m_nFilled = m_bFailed ? 0 : done;
    return m_nFilled > 0;
}

std::size_t CodecInput::fnRead(void* out, std::size_t count) noexcept {
    auto* bytes = static_cast<unsigned char*>(out);
    std::size_t done = 0;
    while (done < count && (m_nNext < m_nFilled || fnFill())) {
        const std::size_t piece = std::min(count - done, m_nFilled - m_nNext);
        std::memcpy(bytes + done, m_pBlock.get() + m_nNext, piece);
        m_nNext += piece;
        done += piece;
    }
    return done;
}

const unsigned char* CodecInput::fnReadBlock(std::size_t& count) noexcept {
    count = 0;
    if (m_nNext >= m_nFilled && !fnFill())
        return nullptr;
    const unsigned char* bytes = m_pBlock.get() + m_nNext;
    count = m_nFilled - m_nNext;
    m_nNext = m_nFilled;
    return bytes;
}

std::size_t CodecInput::fnReadAt(std::uint64_t position, void* out, std::size_t count) noexcept {
    if (m_bFailed || position >= m_nLength)
        return 0;
    std::size_t done = 0;
    m_bFailed = !fnTryMemory([&] {
        return m_pStream->fnSeek(position) == FILE_CAUSE_NONE &&
               m_pStream->fnRead(out, count, done) == FILE_CAUSE_NONE;
    });
    m_bMoved = true;
    return m_bFailed ? 0 : done;
}

void CodecInput::fnSeek(std::uint64_t position) noexcept {
    if (position >= m_nBase && position <= m_nBase + m_nFilled) {
        m_nNext = static_cast<std::size_t>(position - m_nBase);
        return;
    }
    m_nBase = position;
    m_nNext = 0;
    m_nFilled = 0;
    m_bMoved = true;
}

void CodecInput::fnFail(const CodecFailure& otherwise) const {
    if (m_pStop)
        std::rethrow_exception(m_pStop);
    throw m_bFailed ? CodecFailure{MESSAGE_CANNOT_READ} : otherwise;
}

void fnReadExactly(CodecInput& input, void* out, std::size_t count) {
    if (input.fnRead(out, count) != count)
        input.fnFail(CodecFailure{MESSAGE_CORRUPTED});
}

} // namespace q32
