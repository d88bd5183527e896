#include "plugins/CodecInput_p.h"
#include "plugins/JpegMarks_p.h"
#include "plugins/JpegScanSieve_p.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <utility>

namespace q32 {

namespace {

using namespace jpeg;

constexpr std::size_t kComponents = 4;
constexpr std::size_t kComponent = 5;
constexpr std::size_t kFirstCoefficient = 7;

bool fnUsesMeansOnly(const jpeg_component_info& part) {
#if JPEG_LIB_VERSION >= 70
    return part.DCT_h_scaled_size == 1 && part.DCT_v_scaled_size == 1;
#else
    return part.DCT_scaled_size == 1;
#endif
}

} // namespace

JpegScanSieve::JpegScanSieve(CodecInput& input, const jpeg_decompress_struct& jpeg)
    : m_Input(input) {
    for (int i = 0; i < jpeg.num_components; ++i) {
        const jpeg_component_info& part = jpeg.comp_info[i];
        m_MeansOnly[part.component_id & 0xFF] = fnUsesMeansOnly(part);
    }
}

bool JpegScanSieve::fnIsUseful(const jpeg_decompress_struct& jpeg) {
    return std::any_of(jpeg.comp_info, jpeg.comp_info + jpeg.num_components, fnUsesMeansOnly);
}

bool JpegScanSieve::fnHasMore() noexcept {
    if (m_nLeft == 0)
        m_pNext = m_Input.fnReadBlock(m_nLeft);
    return m_nLeft > 0;
}

const unsigned char* JpegScanSieve::fnTake(std::size_t count) noexcept {
    assert(count <= m_nLeft);
    const unsigned char* const taken = m_pNext;
    m_pNext += count;
    m_nLeft -= count;
    return taken;
}

/// The bytes up to the next mark of a segment, or up to a mark that the block cuts.
std::size_t JpegScanSieve::fnFindMark() const noexcept {
    const unsigned char* const end = m_pNext + m_nLeft;
    const unsigned char* next = m_pNext;
    while (next < end) {
        const void* const found =
            std::memchr(next, static_cast<int>(kFill), static_cast<std::size_t>(end - next));
        if (!found)
            return m_nLeft;
        next = static_cast<const unsigned char*>(found);
        if (next + 1 == end || !fnStandsAlone(next[1]))
            return static_cast<std::size_t>(next - m_pNext);
        next += 2;
    }
    return m_nLeft;
}

void JpegScanSieve::fnAppend(std::size_t length) noexcept {
    assert(length <= kOneScan);
    while (m_nHead < length && fnHasMore())
        m_Head[m_nHead++] = *fnTake(1);
}

/// Decides about the segment that begins here; leaves in the head what libjpeg gets of it.
void JpegScanSieve::fnTakeMark() noexcept {
    m_nHead = 0;
    fnAppend(2);
    while (m_nHead == 2 && m_Head[1] == kFill) {
        m_nHead = 1;
        fnAppend(2);
    }
    const unsigned int mark = m_Head[1];
    if (m_nHead < 2 || mark == kEndOfPicture) {
        m_bLeaveOut = false;
        m_nPass = UINT64_MAX;
    } else if (fnStandsAlone(mark)) {
        m_nHead = m_bLeaveOut ? 0 : m_nHead;
    } else {
        fnAppend(4);
        const unsigned int length = static_cast<unsigned int>(m_Head[2]) << 8 | m_Head[3];
        m_bLeaveOut = false;
        m_nPass = length < 2 ? 0 : length - 2;
        if (mark != kStartOfScan || length != kOneScan - 2)
            return;
        fnAppend(kOneScan);
        m_nPass = 0;
        m_bLeaveOut = m_nHead == kOneScan && m_Head[kComponents] == 1 &&
                      m_Head[kFirstCoefficient] > 0 && m_MeansOnly[m_Head[kComponent]];
        m_nHead = m_bLeaveOut ? 0 : m_nHead;
    }
}

const unsigned char* JpegScanSieve::fnReadBlock(std::size_t& count) noexcept {
    for (;;) {
        count = std::exchange(m_nHead, 0);
        if (count > 0)
            return m_Head;
        if (!fnHasMore())
            return nullptr;
        count = static_cast<std::size_t>(std::min<std::uint64_t>(m_nPass, m_nLeft));
        m_nPass -= count;
        if (count > 0)
            return fnTake(count);
        count = fnFindMark();
        if (count == 0)
            fnTakeMark();
        else if (const unsigned char* const data = fnTake(count); !m_bLeaveOut)
            return data;
    }
}

} // namespace q32
