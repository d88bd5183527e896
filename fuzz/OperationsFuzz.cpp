/// @file
/// Random sequences of the operations on pixels, with random rectangles and places, over small
/// images of every depth. What counts is that no byte outside an image is touched, which the
/// sanitizers see, and that an image keeps its size.

#include "platforms/headless/headless.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap.h"
#include "q32Base/operations/CqConvMask.h"
#include "q32Base/q32Base.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

namespace {

void fnCheck(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// The input as values; zeros when it has ended.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_pAt(data), m_pEnd(data + size) {}

    bool fnIsEmpty() const { return m_pAt == m_pEnd; }
    std::uint8_t fnByte() { return fnIsEmpty() ? std::uint8_t{0} : *m_pAt++; }
    unsigned int fnBelow(unsigned int limit) { return fnByte() % limit; }
    /// Mostly near an image, now and then as far off as numbers go.
    int fnPlace() {
        static constexpr int kFar[] = {-2147483647 - 1, -2147483647, -65536,
                                       65536,           2147483646,  2147483647};
        const int value = fnByte();
        return value < 248 ? value - 60 : kFar[static_cast<std::size_t>(value) % std::size(kFar)];
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

std::unique_ptr<CqImage> fnMakeImage(Input& input) {
    static constexpr unsigned int kBits[] = {4, 8, 16, 24, 32};
    const unsigned int bits = kBits[input.fnBelow(std::size(kBits))];
    auto image = std::make_unique<CqImage>(1 + input.fnBelow(140), 1 + input.fnBelow(140), bits,
                                           nullptr, 0u);
    std::memset(image->TileMap->PixelBuffer, input.fnByte(), image->TileMap->BufferSize);
    return image;
}

void fnUseMask(Input& input, CqMask& own, CqMask& other) {
    switch (input.fnBelow(6)) {
    case 0:
        own.fnSetPos(CPoint(input.fnPlace() / 256, input.fnPlace() / 256));
        break;
    case 1:
        own.fnOffsetPos(input.fnPlace() / 256, input.fnPlace() / 256);
        break;
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
    CqConvMask window(image, lines, input.fnPlace());
    for (unsigned int i = input.fnBelow(20); i-- > 0;)
        window.fnGotoNextLine();
    for (unsigned int i = 0; i < lines; ++i) {
        const unsigned char* row = window.fnGetLine(static_cast<int>(i));
        fnCheck(!row || row[image.RowBytes - 1] + 1 > 0, "a row is a whole row");
        const int at = window.fnGetLineCoord(static_cast<int>(i));
        fnCheck(at >= 0 && at < static_cast<int>(image.Height), "a row is told inside the image");
    }
}

void fnOperate(Input& input, CqImage& image, CqImage& other, CqMask& mask, CqMask& mask2) {
    const CRect rect = input.fnRect();
    const CRect* given = input.fnBelow(8) ? &rect : nullptr;
    switch (input.fnBelow(8)) {
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
        std::memset(mask.TileMap->PixelBuffer, input.fnByte(), mask.TileMap->BufferSize);
    }
    CqHeadlessWnd window(RECT{0, 0, 100, 100});
    images[0]->fnDrawInit(1 + input.fnBelow(3), input.fnBelow(2) != 0, CRect(0, 0, 100, 100),
                          CPoint(0, 0), &window);
    for (int steps = 0; steps < 64 && !input.fnIsEmpty(); ++steps) {
        CqImage& image = *images[input.fnBelow(3)];
        CqImage& other = *images[input.fnBelow(3)]; // now and then the same
        const std::uint32_t bytes = image.TileMap->BufferSize;
        const std::size_t mask = input.fnBelow(2);
        try {
            fnOperate(input, image, other, masks[mask], masks[(mask + input.fnByte()) % 2]);
        } catch (CMemoryException* failure) { // masks may get far apart
            failure->Delete();
        }
        fnCheck(image.TileMap->BufferSize == bytes && image.TileMap->LockedLines.GetCount() == 0,
                "an image keeps its size and no claim");
    }
    return 0;
}
