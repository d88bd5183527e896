#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>

namespace q32 {

namespace {

constexpr int kMaxNames = 100;

} // namespace

CodecOutput::CodecOutput(const char* path)
    : m_strPath(path), m_pBlock(std::make_unique_for_overwrite<unsigned char[]>(kBlock)) {
    fnCreate();
}

CodecOutput::~CodecOutput() {
    m_pStream.reset();
    m_bFailed = false;
    if (!m_strNewPath.IsEmpty())
        fnTry([this] { return fnPlatform().m_pFiles->fnDelete(m_strNewPath); });
}

void CodecOutput::fnCreate() {
    CqFileMode mode;
    mode.m_bWrite = mode.m_bCreate = mode.m_bNew = mode.m_bExclusive = true;
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    CString name;
    for (int i = 0; i < kMaxNames; ++i) {
        name.Format("%s.~%d", static_cast<const char*>(m_strPath), i);
        m_pStream = fnPlatform().m_pFiles->fnOpen(name, mode, cause);
        if (m_pStream) {
            m_strNewPath = name;
            return;
        }
        if (!fnPlatform().m_pFiles->fnExists(name))
            break;
    }
    throw CodecFailure{MESSAGE_CANNOT_SAVE};
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
    fnTry([this] { return m_pStream->fnClose() == FILE_CAUSE_NONE; });
    m_pStream.reset();
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const bool done = fnTry([&] {
        cause = fnPlatform().m_pFiles->fnReplace(m_strNewPath, m_strPath);
        return cause == FILE_CAUSE_NONE;
    });
    if (!done)
        throw CodecFailure{cause == FILE_CAUSE_SHARING_VIOLATION ? MESSAGE_IN_USE
                                                                 : MESSAGE_CANNOT_SAVE};
    m_strNewPath.Empty();
}

} // namespace q32
