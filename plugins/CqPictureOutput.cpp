#include "plugins/CqPictureOutput.h"

#include "plugins/PictureCodec.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <cstring>

namespace q32 {

namespace {

constexpr int kMaxNames = 100;

} // namespace

CqPictureOutput::CqPictureOutput(const char* path)
    : m_strPath(path), m_pBlock(std::make_unique_for_overwrite<unsigned char[]>(kBlock)) {
    fnCreate();
}

CqPictureOutput::~CqPictureOutput() {
    m_pStream.reset();
    m_bFailed = false;
    if (!m_strNewPath.IsEmpty())
        fnTry([this] { return fnPlatform().m_pFiles->fnDelete(m_strNewPath); });
}

void CqPictureOutput::fnCreate() {
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
    throw CqPictureFailure{PICTURE_CANNOT_SAVE};
}

template <typename Work>
bool CqPictureOutput::fnTry(const Work& work) noexcept {
    if (!m_bFailed && !fnTryMemory(work))
        m_bFailed = true;
    return !m_bFailed;
}

bool CqPictureOutput::fnFlush() noexcept {
    if (m_nFilled == 0)
        return !m_bFailed;
    const bool done =
        fnTry([this] { return m_pStream->fnWrite(m_pBlock.get(), m_nFilled) == FILE_CAUSE_NONE; });
    m_nBase += m_nFilled;
    m_nWritten = std::max(m_nWritten, m_nBase);
    m_nFilled = 0;
    return done;
}

bool CqPictureOutput::fnWrite(const void* bytes, std::size_t count) noexcept {
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

std::size_t CqPictureOutput::fnRead(void* out, std::size_t count) noexcept {
    std::size_t done = 0;
    if (fnSeek(fnGetPosition()))
        fnTry([&] { return m_pStream->fnRead(out, count, done) == FILE_CAUSE_NONE; });
    m_nBase += done;
    return done;
}

bool CqPictureOutput::fnSeek(std::uint64_t position) noexcept {
    if (!fnFlush() || !fnTry([&] { return m_pStream->fnSeek(position) == FILE_CAUSE_NONE; }))
        return false;
    m_nBase = position;
    return true;
}

std::uint64_t CqPictureOutput::fnGetLength() const noexcept {
    return std::max(m_nWritten, fnGetPosition());
}

void CqPictureOutput::fnCommit() {
    fnFlush();
    fnTry([this] { return m_pStream->fnClose() == FILE_CAUSE_NONE; });
    m_pStream.reset();
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const bool done = fnTry([&] {
        cause = fnPlatform().m_pFiles->fnReplace(m_strNewPath, m_strPath);
        return cause == FILE_CAUSE_NONE;
    });
    if (!done)
        throw CqPictureFailure{cause == FILE_CAUSE_SHARING_VIOLATION ? PICTURE_IN_USE
                                                                     : PICTURE_CANNOT_SAVE};
    m_strNewPath.Empty();
}

} // namespace q32
