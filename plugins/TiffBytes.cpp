#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/TiffBytes_p.h"
#include "plugins/TiffTags_p.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <utility>

namespace q32 {

std::size_t TiffInput::fnRead(void* out, std::size_t count) noexcept {
    const std::uint64_t position = m_Input.fnGetPosition();
    const std::size_t done = m_Input.fnRead(out, count);
    m_Tags.fnOverlay(position, static_cast<unsigned char*>(out), done);
    return done;
}

bool TiffInput::fnWrite(const void*, std::size_t) noexcept {
    return false;
}

bool TiffInput::fnSeek(std::uint64_t position) noexcept {
    m_Input.fnSeek(position);
    return true;
}

std::uint64_t TiffInput::fnGetPosition() const noexcept {
    return m_Input.fnGetPosition();
}

std::uint64_t TiffInput::fnGetLength() const noexcept {
    return m_Input.fnGetLength();
}

void TiffInput::fnRequireRead() const {
    q32::fnRequireRead(m_Input);
}

std::size_t TiffSecondInput::fnRead(void* out, std::size_t count) noexcept {
    const std::size_t done = m_Input.fnReadAt(m_nPosition, out, count);
    m_Tags.fnOverlay(m_nPosition, static_cast<unsigned char*>(out), done);
    m_nPosition += done;
    return done;
}

bool TiffSecondInput::fnWrite(const void*, std::size_t) noexcept {
    return false;
}

bool TiffSecondInput::fnSeek(std::uint64_t position) noexcept {
    m_nPosition = position;
    return true;
}

std::uint64_t TiffSecondInput::fnGetLength() const noexcept {
    return m_Input.fnGetLength();
}

void TiffSecondInput::fnRequireRead() const {
    q32::fnRequireRead(m_Input);
}

std::size_t TiffOutput::fnRead(void* out, std::size_t count) noexcept {
    return m_Output.fnRead(out, count);
}

bool TiffOutput::fnWrite(const void* bytes, std::size_t count) noexcept {
    return m_Output.fnWrite(bytes, count);
}

bool TiffOutput::fnSeek(std::uint64_t position) noexcept {
    return m_Output.fnSeek(position);
}

std::uint64_t TiffOutput::fnGetPosition() const noexcept {
    return m_Output.fnGetPosition();
}

std::uint64_t TiffOutput::fnGetLength() const noexcept {
    return m_Output.fnGetLength();
}

std::size_t TiffScratch::fnRead(void*, std::size_t) noexcept {
    return 0;
}

bool TiffScratch::fnWrite(const void* bytes, std::size_t count) noexcept {
    const auto* in = static_cast<const unsigned char*>(bytes);
    const bool done = fnTryMemory([&] { m_Bytes.insert(m_Bytes.end(), in, in + count); });
    m_bFailed = m_bFailed || !done;
    m_nPosition += count;
    m_nLength = std::max(m_nLength, m_nPosition);
    return done;
}

bool TiffScratch::fnSeek(std::uint64_t position) noexcept {
    m_nPosition = position;
    return true;
}

bool TiffScratch::fnTake(std::vector<unsigned char>& block) {
    block.swap(m_Bytes);
    m_Bytes.clear();
    return !std::exchange(m_bFailed, false);
}

} // namespace q32
