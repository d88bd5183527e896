/// @file Resampling, rotation, changes of depth, crops, flips and blurs, with aborts: the sizes are
/// as documented, and what is aborted or can't be done leaves the picture as it was.

#include "fuzz/FuzzInput.h"
#include "q32Base/memory/CqTileMap_p.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using namespace q32::fuzz;

/// The picture before an operation, for one that does nothing.
struct Before {
    explicit Before(const CqImage& image)
        : m_nSerial(image.TileMap->fnGetSerial()), m_Rows(fnRows(image)) {}

    void fnCheckKept(const CqImage& image) const {
        fnCheck(image.TileMap->fnGetSerial() == m_nSerial && fnRows(image) == m_Rows,
                "a picture stays as it was");
    }

    std::uint64_t m_nSerial;
    Rows m_Rows;
};

unsigned int fnSide(Input& input) {
    const unsigned int side = input.fnByte();
    return side < 250 ? side : 250 + (side - 250) * 200;
}

void fnResample(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    const unsigned int width = fnSide(input);
    const unsigned int height = fnSide(input);
    const bool done = fnTry([&] { image.fnResample(width, height, input.fnFlag(), progress); });
    if (!done || (progress && progress->fnIsAborted()))
        before.fnCheckKept(image);
    else
        fnCheck(image.Width == width && image.Height == height, "a picture gets its size");
}

void fnScale(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    // Sums of far more than 255 weights are no use, but take their time.
    const double scaleX = std::fabs(std::fmod(input.fnReal(), 4.0)) + 0.01;
    const double scaleY = std::fabs(std::fmod(input.fnReal(), 4.0)) + 0.01;
    if (!std::isfinite(scaleX) || !std::isfinite(scaleY))
        return;
    const bool done = fnTry([&] { image.fnResample(scaleX, scaleY, progress); });
    if (!done || (progress && progress->fnIsAborted()))
        before.fnCheckKept(image);
}

void fnRotate(Input& input, CqImage& image, CqProgressDisplay* progress) {
    static constexpr double kRight[] = {90.0, -90.0, 180.0, -180.0, 270.0, 360.0, 90.00000000001};
    const Before before(image);
    const std::uint8_t how = input.fnByte();
    double angle = how & 1 ? input.fnReal() : kRight[how / 16 % std::size(kRight)];
    if (!(std::fabs(angle) < 1e6))
        angle = 45.0;
    CPoint center(input.fnPlace(), input.fnPlace());
    const bool done = fnTry([&] {
        image.fnRotate(angle, input.fnColor(), how & 2 ? &center : nullptr, (how & 4) != 0,
                       progress);
    });
    const bool half = std::fabs(std::fabs(std::fmod(angle, 360.0)) - 180.0) < 1e-9;
    if (!done || (progress && progress->fnIsAborted() && !half) || image.BitCount == 4)
        before.fnCheckKept(image);
}

void fnConvert(Input& input, CqImage& image) {
    const Before before(image);
    const unsigned int bits = fnBits(input);
    RGBQUAD entry{1, 2, 3, 0};
    if (fnTry([&] { image.fnConvert(bits, true, input.fnFlag() ? &entry : nullptr); }))
        fnCheck(image.BitCount == bits, "a picture gets its depth");
    else
        before.fnCheckKept(image);
}

void fnResampleByAlpha(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    const unsigned int width = fnSide(input);
    const unsigned int height = fnSide(input);
    bool resized = false;
    fnTry([&] { resized = q32ResampleByAlpha(image, width, height, progress); });
    if (resized)
        fnCheck(image.Width == width && image.Height == height, "a picture gets its size");
    else
        before.fnCheckKept(image);
}

void fnCrop(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    const CRect rect = input.fnRect();
    CRect inside;
    inside.IntersectRect(
        rect, CRect(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height)));
    bool cropped = false;
    fnTry([&] { cropped = q32Crop(image, rect, image, progress); });
    if (!cropped)
        return before.fnCheckKept(image);
    fnCheck(static_cast<LONG>(image.Width) == inside.Width() &&
                static_cast<LONG>(image.Height) == inside.Height(),
            "a crop has the size of what lies inside");
    if (image.BytesPerPixel == 0)
        return;
    const auto left = static_cast<std::ptrdiff_t>(inside.left) * image.BytesPerPixel;
    const Rows rows = fnRows(image);
    for (std::size_t y = 0; y < rows.size(); ++y)
        fnCheck(std::equal(rows[y].begin(), rows[y].end(),
                           before.m_Rows[y + static_cast<std::size_t>(inside.top)].begin() + left),
                "a crop has the pixels of what lies inside");
}

void fnFlip(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const bool across = input.fnFlag();
    const auto flip = [&](CqProgressDisplay* shown) {
        return across ? q32FlipHorizontal(image, shown) : q32FlipVertical(image, shown);
    };
    const Before before(image);
    if (flip(progress)) {
        if (!across)
            fnCheck(fnRows(image).front() == before.m_Rows.back(),
                    "the last row becomes the first");
        flip(nullptr);
    }
    before.fnCheckKept(image); // aborted, or flipped twice
    if (!input.fnFlag())
        flip(nullptr);
}

void fnGrey(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    const unsigned int bits = fnBits(input);
    bool grey = false;
    fnTry([&] { grey = q32ConvertToGrey(image, bits, progress); });
    if (!grey)
        before.fnCheckKept(image);
    else
        fnCheck(image.BitCount == bits && bits != 4 && bits != 16, "a picture gets its depth");
}

void fnBlur(Input& input, CqImage& image, CqProgressDisplay* progress) {
    const Before before(image);
    const std::uint8_t how = input.fnByte();
    const double sigma = how & 1 ? input.fnReal() : (how >> 2) / 8.0;
    bool blurred = false;
    fnTry([&] {
        if (how & 2) {
            const unsigned int amount = input.fnWord();
            blurred = q32Sharpen(image, sigma, amount, input.fnByte(), progress);
        } else {
            blurred = q32Blur(image, sigma, progress);
        }
    });
    fnCheck(!blurred || sigma > 0.0, "a blur has a width");
    if (!blurred)
        before.fnCheckKept(image);
}

/// What came later: its choice has a byte of its own, so that older inputs keep their meaning.
void fnTransformFurther(Input& input, CqImage& image, CqProgressDisplay* progress) {
    switch (input.fnBelow(5)) {
    case 0:
        return fnResampleByAlpha(input, image, progress);
    case 1:
        return fnCrop(input, image, progress);
    case 2:
        return fnFlip(input, image, progress);
    case 3:
        return fnGrey(input, image, progress);
    default:
        return fnBlur(input, image, progress);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    const Balance balance;
    Input input(data, size);
    const std::unique_ptr<CqImage> image = fnMakeImage(input, 150);
    for (int steps = 0; steps < 4 && !input.fnIsEmpty(); ++steps) {
        const std::uint8_t how = input.fnByte();
        CountedDisplay display(how & 16 ? 1 + input.fnBelow(6) : ~0u);
        CqProgressDisplay* const progress = how & 32 ? &display : nullptr;
        switch (how >= 192 ? 4 : how % 4) {
        case 4:
            fnTransformFurther(input, *image, progress);
            break;
        case 0:
            fnResample(input, *image, progress);
            break;
        case 1:
            fnScale(input, *image, progress);
            break;
        case 2:
            fnRotate(input, *image, progress);
            break;
        default:
            fnConvert(input, *image);
        }
        if (image->TileMap->BufferSize > 1u << 20)
            break; // enough for one execution
    }
    return 0;
}
