/// @file Random sequences of pixel operations, with random rectangles and positions, over small
/// images of every depth. Required: no byte outside an image is accessed (checked by the
/// sanitizers), an image keeps its size, a window contains the rows that it reports, and an abort
/// ends the operation.

#include "platforms/headless/headless.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/CqConvMask.h"
#include "q32Base/q32Base.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

namespace {

void fnCheck(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// The input as values; zeros once it is used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_pAt(data), m_pEnd(data + size) {}

    bool fnIsEmpty() const { return m_pAt == m_pEnd; }
    std::uint8_t fnByte() { return fnIsEmpty() ? std::uint8_t{0} : *m_pAt++; }
    unsigned int fnBelow(unsigned int limit) { return fnByte() % limit; }
    /// Usually near an image, occasionally at the limits of the type.
    int fnPlace() {
        static constexpr int kFar[] = {-2147483647 - 1, -2147483647, -65536,
                                       65536,           2147483646,  2147483647};
        const int value = fnByte();
        return value < 248 ? value - 60 : kFar[static_cast<std::size_t>(value) % std::size(kFar)];
    }
    /// Position of a mask: usually one where it meets others.
    int fnMaskPlace() {
        const int place = fnPlace();
        return fnBelow(16) ? place % 200 : place;
    }
    CRect fnRect() {
        const int left = fnPlace();
        const int top = fnPlace();
        const int right = fnPlace();
        return {left, top, right, fnPlace()};
    }
    CqColor fnColor() {
        const std::uint8_t red = fnByte();
        const std::uint8_t green = fnByte();
        return {red, green, fnByte(), red};
    }

private:
    const std::uint8_t* m_pAt;
    const std::uint8_t* m_pEnd;
};

/// Pixels of all kinds from one byte; some bytes produce runs, for keys and regions.
void fnPaint(const CqImage& image, std::uint8_t seed) {
    std::uint32_t state = seed;
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i) {
        if (i % (1u + seed % 5) == 0)
            state = state * 1664525u + 1013904223u;
        image.TileMap->PixelBuffer[i] = static_cast<unsigned char>(state >> 24);
    }
}

std::unique_ptr<CqImage> fnMakeImage(Input& input) {
    static constexpr unsigned int kBits[] = {4, 8, 16, 24, 32};
    const unsigned int bits = kBits[input.fnBelow(std::size(kBits))];
    const unsigned int width = 1 + input.fnBelow(140);
    const unsigned int height = 1 + input.fnBelow(140);
    const std::uint8_t seed = input.fnByte();
    const bool ramp = seed % 3 == 0; // at 4 bits too, where most of its indices don't fit in a
                                     // nibble
    auto image = std::make_unique<CqImage>(width, height, bits, ramp ? q32GreyRamp : nullptr,
                                           ramp ? 256u : 0u);
    fnPaint(*image, seed);
    return image;
}

/// Reports Esc at a chosen call.
class CountedDisplay : public CqProgressDisplay {
public:
    explicit CountedDisplay(unsigned int abortAt) : CqProgressDisplay(false), m_nAbortAt(abortAt) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        fnCheck(percent < 100, "a percentage stays below 100");
        fnCheck(m_nCalls < m_nAbortAt, "an abort ends the work");
        ++m_nCalls;
        CqProgressDisplay::fnDrawStatus(percent, aborted);
    }
    bool fnIsAborted() const override { return m_nCalls == m_nAbortAt; }

    unsigned int m_nCalls = 0;

private:
    unsigned int m_nAbortAt;
};

void fnAdjustTone(Input& input, CqImage& image) {
    const std::uint8_t how = input.fnByte();
    const bool draw = (how & 4) != 0;
    CountedDisplay display(how & 8 ? 1 + input.fnBelow(4) : ~0u);
    CqProgressDisplay* const progress = how & 16 ? &display : nullptr;
    const int a = input.fnPlace();
    const int b = input.fnPlace();
    switch (how & 3) {
    case 0:
        image.fnBrightContrast(a, b, draw, progress);
        break;
    case 1:
        image.fnColorBalance(a, b, input.fnPlace(), draw, progress);
        break;
    case 2:
        image.fnHueSaturation(a, b, draw, progress);
        break;
    default:
        image.fnThresholding(static_cast<unsigned char>(a), draw, progress);
    }
    fnCheck(display.m_nCalls <= image.TileCount, "a tile is reported once");
}

/// Sets a scale: by a factor, reduced, or fitted.
void fnSetScale(Input& input, CqImage& image, CWnd* window) {
    const unsigned int how = input.fnBelow(4);
    const unsigned int factor = 1 + input.fnBelow(3);
    const CRect view(0, 0, 1 + LONG{input.fnByte()}, 1 + LONG{input.fnByte()});
    const CPoint origin(LONG{input.fnByte()} / 4, LONG{input.fnByte()} / 4);
    if (how == 0)
        image.fnDrawInit(1.0, view, window);
    else
        image.fnDrawInit(factor, how == 1, view, origin, window);
}

void fnUseMask(Input& input, CqMask& own, CqMask& other) {
    switch (input.fnBelow(6)) {
    case 0: {
        const int x = input.fnMaskPlace();
        return own.fnSetPos(CPoint(x, input.fnMaskPlace()));
    }
    case 1: {
        const int dx = input.fnMaskPlace() / 8;
        return own.fnOffsetPos(dx, input.fnMaskPlace() / 8);
    }
    case 2:
        own += other;
        break;
    case 3:
        own -= other;
        break;
    case 4:
        own.m_rectBound = CRect(CPoint(-3, 4), CSize(LONG{input.fnByte()}, LONG{input.fnByte()}));
        break;
    default:
        own = other;
    }
}

void fnMerge(Input& input, CqImage& image, CqImage& source, CqMask& mask) {
    const CRect rect = input.fnRect();
    const auto type = static_cast<MERGE_TYPE>(input.fnBelow(3));
    const unsigned long key = input.fnColor();
    const int x = input.fnPlace();
    image.fnMerge(source, input.fnBelow(4) ? &rect : nullptr, CqMergeParam(type, key, &mask), x,
                  input.fnPlace());
}

void fnSlideWindow(Input& input, CqImage& image) {
    const unsigned int lines = input.fnBelow(9);
    const int start = input.fnPlace();
    const int moves = static_cast<int>(input.fnBelow(20));
    CqConvMask window(image, lines, start);
    for (int i = 0; i < moves; ++i)
        window.fnGotoNextLine();
    const int shown = static_cast<int>(std::max(lines, 1u));
    std::vector<unsigned char> expected(image.RowBytes);
    for (int i = 0; i < shown; ++i) {
        const int at = window.fnGetLineCoord(i);
        fnCheck(at >= 0 && at < static_cast<int>(image.Height),
                "a reported row is inside the image");
        const unsigned char* row = window.fnGetLine(i);
        fnCheck((row != nullptr) == (moves > 0), "the first move brings the rows");
        const std::int64_t centre = std::int64_t{start} + moves;
        if (!row || centre > 2147483647) // beyond the last row the window starts again
            continue;
        const std::int64_t y = centre - shown / 2 + i;
        image.TileMap->fnFetchRow(static_cast<std::uint32_t>(std::clamp<std::int64_t>(
                                      y, 0, std::int64_t{image.Height} - 1)),
                                  expected.data());
        fnCheck(std::memcmp(row, expected.data(), expected.size()) == 0,
                "a row is the image's row");
    }
}

void fnOperate(Input& input, CqImage& image, CqImage& other, CqMask& mask, CqMask& mask2,
               CWnd* window) {
    const CRect rect = input.fnRect();
    const CRect* given = input.fnBelow(8) ? &rect : nullptr;
    switch (input.fnBelow(10)) {
    case 0:
        return image.fnFill(input.fnColor(), given, (input.fnByte() & 1) != 0);
    case 1: {
        const CRect place = input.fnRect();
        return image.fnFill(other, given, input.fnBelow(4) ? &place : nullptr);
    }
    case 2: {
        const int x = input.fnPlace();
        return image.fnCopyBlock(other, given, x, input.fnPlace());
    }
    case 3:
        return fnMerge(input, image, other, mask);
    case 4: {
        const CqColor color = input.fnColor();
        return image.fnDrawLine(rect.left, rect.top, rect.right, rect.bottom, color, false);
    }
    case 5: {
        CRgn region;
        return image.fnCreateRgn(input.fnColor(), region);
    }
    case 6:
        return fnSlideWindow(input, image);
    case 7:
        return fnAdjustTone(input, image);
    case 8:
        return fnSetScale(input, image, window);
    default:
        return fnUseMask(input, mask, mask2);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool attached = q32Attach(q32HeadlessPlatform());
    fnCheck(attached, "the library starts");
    Input input(data, size);
    const std::unique_ptr<CqImage> images[] = {fnMakeImage(input), fnMakeImage(input),
                                               fnMakeImage(input)};
    CqMask masks[2];
    for (CqMask& mask : masks) {
        mask.fnAlloc(1 + input.fnBelow(140), 1 + input.fnBelow(140));
        fnPaint(mask, input.fnByte());
    }
    CqHeadlessWnd window(RECT{0, 0, 100, 100});
    images[0]->fnDrawInit(1 + input.fnBelow(3), input.fnBelow(2) != 0, CRect(0, 0, 100, 100),
                          CPoint(0, 0), &window);
    for (int steps = 0; steps < 64 && !input.fnIsEmpty(); ++steps) {
        CqImage& image = *images[input.fnBelow(3)];
        CqImage& other = *images[input.fnBelow(3)]; // occasionally the same image
        const std::uint32_t bytes = image.TileMap->BufferSize;
        const std::size_t mask = input.fnBelow(2);
        try {
            fnOperate(input, image, other, masks[mask], masks[(mask + input.fnByte()) % 2],
                      &window);
        } catch (CMemoryException* failure) { // masks may end up far apart
            failure->Delete();
        }
        fnCheck(image.TileMap->BufferSize == bytes && image.TileMap->LockedLines.GetCount() == 0,
                "an image keeps its size and no claim");
    }
    return 0;
}
