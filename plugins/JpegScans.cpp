#include "plugins/CodecInput_p.h"
#include "plugins/JpegMarks_p.h"
#include "plugins/JpegScans_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace q32 {

namespace {

using namespace jpeg;

/// The rest of a file, byte by byte.
class Walk {
public:
    explicit Walk(CodecInput& input) : m_Input(input) {}

    bool fnHasMore() {
        if (m_nLeft == 0)
            m_pNext = m_Input.fnReadBlock(m_nLeft);
        return m_nLeft > 0;
    }
    /// The next byte; 0 at the end of the file.
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
    /// Goes behind the next byte of this value, or to the end of the file.
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
    CodecInput& m_Input;
    const unsigned char* m_pNext = nullptr;
    std::size_t m_nLeft = 0;
};

/// The next mark of a segment; that of the end at the end of the file.
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

} // namespace

unsigned int fnCountJpegScans(CodecInput& input, unsigned int most) {
    Walk walk(input);
    unsigned int scans = 0;
    while (scans <= most) {
        const unsigned int mark = fnNextMark(walk);
        if (mark == kEndOfPicture)
            break;
        scans += mark == kStartOfScan ? 1u : 0u;
        const unsigned int high = walk.fnTake();
        const unsigned int length = high << 8 | walk.fnTake(); // includes its own two bytes
        walk.fnSkip(length < 2 ? 0 : length - 2);
    }
    return scans;
}

} // namespace q32
