/// @file Random sequences of pixel operations, with random rectangles and positions, over small
/// images of every depth. Required: no byte outside an image is accessed (checked by the
/// sanitizers), an image keeps its size, a window contains the rows that it reports, and an abort
/// ends the operation.

#include "fuzz/FuzzInput.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/CqConvMask.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using namespace q32::fuzz;

/// Position of a mask: usually one where it meets others.
int fnMaskPlace(Input& input) {
    const int place = input.fnPlace();
    return input.fnBelow(16) ? place % 200 : place;
}

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
        const int x = fnMaskPlace(input);
        return own.fnSetPos(CPoint(x, fnMaskPlace(input)));
    }
    case 1: {
        const int dx = fnMaskPlace(input) / 8;
        return own.fnOffsetPos(dx, fnMaskPlace(input) / 8);
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

void fnBlend(Input& input, CqImage& image, const CqImage& source, const CRect* rect,
             const CqMask* mask, CqProgressDisplay* progress) {
    CqBlendParam param;
    param.m_nOpacity = input.fnByte();
    param.m_pMask = input.fnFlag() ? mask : nullptr;
    param.m_eMode = static_cast<BLEND_MODE>(input.fnBelow(3));
    const int x = input.fnPlace();
    const Rows before = fnRows(image);
    if (!q32Blend(source, rect, image, x, input.fnPlace(), param, progress))
        fnCheck((progress && progress->fnWasAborted()) || fnRows(image) == before,
                "what can't be blended stays as it was");
}

void fnApplyCurves(Input& input, CqImage& image, const CRect* rect, CqProgressDisplay* progress) {
    CqToneCurves curves;
    const std::uint8_t seed = input.fnByte();
    for (unsigned int i = 0; i < 256; ++i) {
        curves.m_Red[i] = static_cast<unsigned char>(i * seed);
        curves.m_Green[i] = static_cast<unsigned char>(255 - i);
        curves.m_Blue[i] = static_cast<unsigned char>(i ^ seed);
    }
    q32ApplyToneCurves(image, rect, curves, progress);
}

void fnCount(const CqImage& image, const CRect* rect, const CqMask* mask,
             CqProgressDisplay* progress) {
    CqHistogram histogram;
    if (!q32CountHistogram(image, rect, mask, histogram, progress))
        return fnCheck(histogram.m_nPixels == 0, "what isn't counted changes nothing");
    fnCheck(histogram.m_nPixels <= std::uint64_t{image.Width} * image.Height,
            "a pixel is counted once");
    for (const auto& channel :
         {histogram.m_nRed, histogram.m_nGreen, histogram.m_nBlue, histogram.m_nLuminance}) {
        std::uint64_t sum = 0;
        for (unsigned int i = 0; i < 256; ++i)
            sum += channel[i];
        fnCheck(sum == histogram.m_nPixels, "each channel has all pixels");
    }
}

/// An area whose mask is worth an execution.
CRect fnMaskArea(Input& input) {
    const CPoint corner(fnMaskPlace(input) / 4, fnMaskPlace(input) / 4);
    return {corner, CSize(LONG{input.fnByte()}, LONG{input.fnByte()})};
}

void fnFeather(Input& input, CqMask& mask, CqProgressDisplay* progress) {
    const CRect before = mask.m_rectBound;
    const CRect area = fnMaskArea(input);
    if (q32FeatherMask(mask, input.fnReal(), area, progress))
        fnCheck(!mask.m_rectBound.IsRectEmpty() && area.left <= mask.m_rectBound.left &&
                    mask.m_rectBound.right <= area.right && area.top <= mask.m_rectBound.top &&
                    mask.m_rectBound.bottom <= area.bottom,
                "a feathered mask lies in the area");
    else
        fnCheck(mask.m_rectBound == before, "a refused mask stays");
}

void fnInvert(Input& input, CqMask& mask) {
    const CRect area = fnMaskArea(input);
    if (!q32InvertMask(mask, area))
        return;
    fnCheck(mask.m_rectBound == area, "an inverted mask covers the area");
    Rows rows = fnRows(mask);
    fnCheck(q32InvertMask(mask, area), "a mask that was inverted can be");
    for (auto& row : rows)
        for (unsigned char& weight : row)
            weight = static_cast<unsigned char>(~weight);
    fnCheck(fnRows(mask) == rows, "a mask is inverted weight by weight");
}

void fnStroke(Input& input, CqMask& mask, CqProgressDisplay* progress) {
    std::vector<CqPoint2D> points(input.fnBelow(6));
    for (CqPoint2D& point : points) {
        const double x = input.fnReal();
        point = CqPoint2D(x, input.fnReal());
    }
    const CRect before = mask.m_rectBound;
    const double width = input.fnReal();
    const CRect area = fnMaskArea(input);
    if (!q32MakeStrokeMask(points, width, area, mask, progress))
        return fnCheck(mask.m_rectBound == before, "a refused mask stays");
    CRect inside;
    fnCheck(inside.IntersectRect(mask.m_rectBound, area) && inside == mask.m_rectBound,
            "a stroke lies in the area");
    fnCheck(static_cast<LONG>(mask.Width) == inside.Width() &&
                static_cast<LONG>(mask.Height) == inside.Height(),
            "a mask has the size of its rectangle");
}

/// What came later: its choice has a byte of its own, so that older inputs keep their meaning.
void fnOperateFurther(Input& input, CqImage& image, CqImage& other, CqMask& mask,
                      const CRect* rect) {
    const std::uint8_t how = input.fnByte();
    CountedDisplay display(how & 64 ? 1 + input.fnBelow(4) : ~0u);
    CqProgressDisplay* const progress = how & 128 ? &display : nullptr;
    switch (how % 64 % 6) {
    case 0:
        return fnBlend(input, image, other, rect, &mask, progress);
    case 1:
        return fnApplyCurves(input, image, rect, progress);
    case 2:
        return fnCount(image, rect, input.fnFlag() ? &mask : nullptr, progress);
    case 3:
        return fnFeather(input, mask, progress);
    case 4:
        return fnInvert(input, mask);
    default:
        return fnStroke(input, mask, progress);
    }
}

void fnOperate(Input& input, CqImage& image, CqImage& other, CqMask& mask, CqMask& mask2,
               CWnd* window) {
    const CRect rect = input.fnRect();
    const CRect* given = input.fnBelow(8) ? &rect : nullptr;
    const std::uint8_t choice = input.fnByte();
    if (choice >= 250)
        return fnOperateFurther(input, image, other, mask, given);
    switch (choice % 10) {
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
    const Balance balance;
    Input input(data, size);
    const std::unique_ptr<CqImage> images[] = {fnMakeImage(input, 140), fnMakeImage(input, 140),
                                               fnMakeImage(input, 140)};
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
