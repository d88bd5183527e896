/// @file Reading and writing of rectangles, rows and scattered pixels in every order, compared with
/// single pixels. What lies outside the image is refused, and leaves no byte changed.

#include "fuzz/FuzzInput.h"
#include "q32Base/image/PixelAccess.h"
#include "tests/image/PlainPixels.h"

#include <algorithm>

namespace {

using namespace q32::fuzz;
using namespace q32::test;

constexpr unsigned char kGuard = 0xC7;

/// Rows of the caller: exactly as many bytes as a call may touch.
struct Field {
    Field(const CRect& rect, std::size_t pixelBytes, std::size_t gap)
        : m_nStride(static_cast<std::size_t>(rect.Width()) * pixelBytes + gap),
          m_Bytes(rect.Height() == 0 ? 0
                                     : m_nStride * static_cast<std::size_t>(rect.Height()) - gap,
                  kGuard) {}

    std::size_t m_nStride;
    Bytes m_Bytes;
};

bool fnIsInside(const CRect& rect, const CqImage& image) {
    return rect.left >= 0 && rect.top >= 0 && rect.left <= rect.right && rect.top <= rect.bottom &&
           rect.right <= static_cast<LONG>(image.Width) &&
           rect.bottom <= static_cast<LONG>(image.Height);
}

Bytes fnPixel(const CqImage& image, const Rows& rows, LONG x, LONG y, PIXEL_ORDER order) {
    return fnInOrder(
        image,
        fnStored(image.BitCount, rows[static_cast<std::size_t>(y)], static_cast<unsigned int>(x)),
        order);
}

/// Calls `work` with each pixel of a rectangle and the place of its bytes in a field.
template <typename Work>
void fnForEach(const CRect& rect, std::size_t pixelBytes, std::size_t stride, Work&& work) {
    for (LONG y = rect.top; y < rect.bottom; ++y)
        for (LONG x = rect.left; x < rect.right; ++x)
            work(x, y,
                 static_cast<std::size_t>(y - rect.top) * stride +
                     static_cast<std::size_t>(x - rect.left) * pixelBytes);
}

void fnReadRect(Input& input, const CqImage& image, PIXEL_ORDER order) {
    const CRect rect = input.fnRect();
    const CqPixelReader reader(image, order);
    if (!fnIsInside(rect, image)) {
        unsigned char none = kGuard;
        fnCheck(!reader.fnRead(rect, &none, std::size_t{1} << 40), "an outer place is refused");
        return;
    }
    const std::size_t bytes = reader.fnGetPixelBytes();
    fnCheck(bytes == fnBytesOf(image.BitCount, order), "the bytes of a pixel");
    Field out(rect, bytes, input.fnBelow(9));
    Bytes expected = out.m_Bytes;
    const Rows rows = fnRows(image);
    fnForEach(rect, bytes, out.m_nStride, [&](LONG x, LONG y, std::size_t at) {
        const Bytes pixel = fnPixel(image, rows, x, y, order);
        std::copy(pixel.begin(), pixel.end(), &expected[at]);
    });
    fnCheck(reader.fnRead(rect, out.m_Bytes.data(), out.m_nStride), "an inner place is read");
    fnCheck(out.m_Bytes == expected, "what is read is what is stored");
}

void fnWriteRect(Input& input, CqImage& image, PIXEL_ORDER order) {
    const CRect rect = input.fnRect();
    const CqPixelWriter writer(image, order);
    Rows expected = fnRows(image);
    if (!fnIsInside(rect, image)) {
        const unsigned char none = kGuard;
        fnCheck(!writer.fnWrite(rect, &none, std::size_t{1} << 40), "an outer place is refused");
    } else {
        const std::size_t bytes = writer.fnGetPixelBytes();
        Field in(rect, bytes, input.fnBelow(9));
        std::uint32_t state = input.fnByte();
        for (unsigned char& byte : in.m_Bytes) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<unsigned char>(state % 2 ? state >> 24 : (state >> 24) / 86 * 127);
        }
        fnForEach(rect, bytes, in.m_nStride, [&](LONG x, LONG y, std::size_t at) {
            const auto* pixel = in.m_Bytes.data() + at;
            fnStore(image.BitCount, expected[static_cast<std::size_t>(y)],
                    static_cast<unsigned int>(x),
                    fnToStored(image, Bytes(pixel, pixel + bytes), order));
        });
        fnCheck(writer.fnWrite(rect, in.m_Bytes.data(), in.m_nStride), "an inner place is written");
    }
    fnCheck(fnRows(image) == expected, "exactly the rectangle is written");
}

void fnReadRun(Input& input, const CqImage& image, PIXEL_ORDER order) {
    const auto x = static_cast<std::uint32_t>(input.fnPlace());
    const auto y = static_cast<std::uint32_t>(input.fnPlace());
    const auto count = static_cast<std::uint32_t>(input.fnPlace());
    const CqPixelReader reader(image, order);
    const bool inside = y < image.Height && std::uint64_t{x} + count <= image.Width;
    Bytes out(inside ? count * reader.fnGetPixelBytes() : 0);
    fnCheck(reader.fnReadRow(x, y, count, out.data()) == inside, "a run is read if it is inside");
    if (!inside)
        return;
    const Rows rows = fnRows(image);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto pixel =
            fnPixel(image, rows, static_cast<LONG>(x + i), static_cast<LONG>(y), order);
        fnCheck(std::equal(pixel.begin(), pixel.end(), &out[i * pixel.size()]),
                "a run is what is stored");
    }
}

std::vector<std::uint32_t> fnList(Input& input) {
    std::vector<std::uint32_t> places(input.fnBelow(20));
    for (std::uint32_t& place : places)
        place = input.fnByte();
    return places;
}

void fnPick(Input& input, const CqImage& image, PIXEL_ORDER order) {
    const std::vector<std::uint32_t> ys = fnList(input);
    const std::vector<std::uint32_t> xs = fnList(input);
    const CqPixelReader reader(image, order);
    const std::size_t bytes = reader.fnGetPixelBytes();
    const std::size_t stride = xs.size() * bytes + input.fnBelow(5);
    Bytes out(ys.size() * stride, kGuard);
    const auto below = [](const auto& places, std::uint32_t limit) {
        return std::all_of(places.begin(), places.end(), [&](auto at) { return at < limit; });
    };
    const bool inside = below(ys, image.Height) && below(xs, image.Width);
    const bool picked =
        reader.fnPick(ys.data(), ys.size(), xs.data(), xs.size(), out.data(), stride);
    // Without rows, or without columns, the other list may go unread.
    fnCheck(picked == inside || ys.empty() || xs.empty(), "pixels are picked if all are inside");
    if (!picked || !inside)
        return;
    const Rows rows = fnRows(image);
    Bytes expected(out.size(), kGuard);
    for (std::size_t y = 0; y < ys.size(); ++y)
        for (std::size_t x = 0; x < xs.size(); ++x) {
            const auto pixel =
                fnPixel(image, rows, static_cast<LONG>(xs[x]), static_cast<LONG>(ys[y]), order);
            std::copy(pixel.begin(), pixel.end(), &expected[y * stride + x * bytes]);
        }
    fnCheck(out == expected, "the crossings are what is stored");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    const Balance balance;
    Input input(data, size);
    const std::unique_ptr<CqImage> image = fnMakeImage(input, 200);
    for (int calls = 0; calls < 12 && !input.fnIsEmpty(); ++calls) {
        const auto order = static_cast<PIXEL_ORDER>(input.fnBelow(7));
        switch (input.fnBelow(4)) {
        case 0:
            fnReadRect(input, *image, order);
            break;
        case 1:
            fnWriteRect(input, *image, order);
            break;
        case 2:
            fnReadRun(input, *image, order);
            break;
        default:
            fnPick(input, *image, order);
        }
    }
    return 0;
}
