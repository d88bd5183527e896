#include "plugins/CodecInput_p.h"
#include "plugins/JpegMarks_p.h"
#include "plugins/JpegScans_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace q32 {

namespace {

using namespace jpeg;

/// The rest of a JPEG, byte by byte.
class Walk {
public:
    explicit Walk(const JpegBytes& bytes) : m_Bytes(bytes) {}

    bool fnHasMore() {
        if (m_nLeft == 0)
            m_pNext = m_Bytes(m_nLeft);
        return m_nLeft > 0;
    }
    /// The next byte; 0 at the end.
    unsigned int fnTake() {
        if (!fnHasMore())
            return 0;
        --m_nLeft;
        return *m_pNext++;
    }
    void fnSkip(std::size_t count) {
        while (count > 0 && fnHasMore()) {
            const std::size_t piece = std::min(count, m_nLeft);
            m_pNext += piece;
            m_nLeft -= piece;
            count -= piece;
        }
    }
    /// Goes behind the next byte of this value, or to the end.
    void fnSkipPast(unsigned int value) {
        while (fnHasMore()) {
            const void* found = std::memchr(m_pNext, static_cast<int>(value), m_nLeft);
            if (found) {
                fnSkip(
                    static_cast<std::size_t>(static_cast<const unsigned char*>(found) - m_pNext) +
                    1);
                return;
            }
            m_nLeft = 0;
        }
    }

private:
    const JpegBytes& m_Bytes;
    const unsigned char* m_pNext = nullptr;
    std::size_t m_nLeft = 0;
};

/// The next mark of a segment; that of the end of the picture at the end of all bytes.
unsigned int fnNextMark(Walk& walk) {
    while (walk.fnHasMore()) {
        walk.fnSkipPast(kFill);
        unsigned int mark = kFill;
        while (mark == kFill)
            mark = walk.fnTake();
        if (!fnStandsAlone(mark))
            return mark;
    }
    return kEndOfPicture;
}

/// The bytes of the segment that begins here, without those of its length.
std::size_t fnTakeLength(Walk& walk) {
    const unsigned int high = walk.fnTake();
    const unsigned int length = high << 8 | walk.fnTake(); // includes its own two bytes
    return length < 2 ? 0 : length - 2;
}

} // namespace

unsigned int fnCountJpegScans(CodecInput& input, unsigned int most) {
    const JpegBytes bytes = [&input](std::size_t& count) { return input.fnReadBlock(count); };
    Walk walk(bytes);
    unsigned int scans = 0;
    while (scans <= most) {
        const unsigned int mark = fnNextMark(walk);
        if (mark == kEndOfPicture)
            break;
        scans += mark == kStartOfScan ? 1u : 0u;
        walk.fnSkip(fnTakeLength(walk));
    }
    return scans;
}

bool fnIsJpegDecodedByRows(const JpegBytes& bytes) {
    constexpr std::size_t kAheadOfComponents = 5; // in a frame: precision, height, width
    Walk walk(bytes);
    unsigned int components = 0;
    for (;;) {
        const unsigned int mark = fnNextMark(walk);
        if (mark == kEndOfPicture)
            return true;
        std::size_t length = fnTakeLength(walk);
        if (mark == kStartOfScan)
            return walk.fnTake() >= components;
        if (fnBeginsProgressive(mark))
            return false;
        if (fnBeginsFrame(mark) && length > kAheadOfComponents) {
            walk.fnSkip(kAheadOfComponents);
            components = walk.fnTake();
            length -= kAheadOfComponents + 1;
        }
        walk.fnSkip(length);
    }
}

} // namespace q32
