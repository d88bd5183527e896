/// @file Regions combined in any order, and the regions of images, compared with a field of pixels.

#include "fuzz/FuzzInput.h"
#include "q32Base/framework/CRgn.h"

#include <algorithm>
#include <array>

namespace {

using namespace q32::fuzz;

constexpr LONG kSide = 48;
using Field = std::array<bool, std::size_t{kSide} * kSide>;

bool& fnAt(Field& field, LONG x, LONG y) {
    return field[static_cast<std::size_t>(y) * kSide + static_cast<std::size_t>(x)];
}

/// The field of rectangles inside it, which must not overlap, in rows from the top.
Field fnFieldOf(const std::vector<RECT>& rects) {
    Field field{};
    const RECT* last = nullptr;
    for (const RECT& rect : rects) {
        fnCheck(0 <= rect.left && rect.left < rect.right && rect.right <= kSide && 0 <= rect.top &&
                    rect.top < rect.bottom && rect.bottom <= kSide,
                "a rectangle lies inside, and isn't empty");
        fnCheck(!last || last->top < rect.top ||
                    (last->top == rect.top && last->right <= rect.left),
                "rectangles come in order");
        last = &rect;
        for (LONG y = rect.top; y < rect.bottom; ++y)
            for (LONG x = rect.left; x < rect.right; ++x) {
                fnCheck(!fnAt(field, x, y), "rectangles don't overlap");
                fnAt(field, x, y) = true;
            }
    }
    return field;
}

bool fnCombine(bool a, bool b, int mode) {
    switch (mode) {
    case RGN_AND:
        return a && b;
    case RGN_OR:
        return a || b;
    case RGN_XOR:
        return a != b;
    case RGN_DIFF:
        return a && !b;
    default:
        return a;
    }
}

struct Pair {
    CRgn m_Region;
    Field m_Field{};

    void fnMake(Input& input) {
        const auto left = static_cast<LONG>(input.fnBelow(kSide + 1));
        const auto top = static_cast<LONG>(input.fnBelow(kSide + 1));
        const auto right = static_cast<LONG>(input.fnBelow(kSide + 1));
        const RECT rect{left, top, right, static_cast<LONG>(input.fnBelow(kSide + 1))};
        m_Region.DeleteObject();
        fnCheck(m_Region.CreateRectRgnIndirect(rect), "a region is made");
        m_Field = {};
        for (LONG y = rect.top; y < rect.bottom; ++y)
            for (LONG x = rect.left; x < rect.right; ++x)
                fnAt(m_Field, x, y) = true;
    }
    void fnSet(const Pair& a, const Pair& b, int mode) {
        const bool known = mode >= RGN_AND && mode <= RGN_COPY;
        fnCheck(m_Region.CombineRgn(a.m_Region, b.m_Region, mode) == known, "known modes combine");
        for (std::size_t i = 0; known && i < m_Field.size(); ++i)
            m_Field[i] = fnCombine(a.m_Field[i], b.m_Field[i], mode);
    }
    void fnCheckField() const {
        fnCheck(fnFieldOf(m_Region.GetRects()) == m_Field, "a region has its pixels");
    }
};

/// The region of a small picture without its key.
void fnTryKey(Input& input, Pair& pair) {
    const unsigned int width = 1 + input.fnBelow(kSide);
    const unsigned int height = 1 + input.fnBelow(kSide);
    CqImage image(width, height, 8, q32GreyRamp, 256);
    fnPaint(image, input.fnByte());
    const std::uint8_t key = input.fnByte();
    image.fnCreateRgn(0x010101ul * key, pair.m_Region);
    const Rows rows = fnRows(image);
    pair.m_Field = {};
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x)
            fnAt(pair.m_Field, static_cast<LONG>(x), static_cast<LONG>(y)) = rows[y][x] != key;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    const Balance balance;
    Input input(data, size);
    std::array<Pair, 4> pairs;
    for (Pair& pair : pairs)
        pair.fnMake(input);
    for (int calls = 0; calls < 100 && !input.fnIsEmpty(); ++calls) {
        Pair& pair = pairs[input.fnBelow(4)];
        const unsigned int how = input.fnBelow(10);
        if (how == 0)
            pair.fnMake(input);
        else if (how == 1)
            fnTryKey(input, pair);
        else
            pair.fnSet(pairs[input.fnBelow(4)], pairs[input.fnBelow(4)],
                       static_cast<int>(input.fnBelow(7)));
        pair.fnCheckField();
    }
    return 0;
}
