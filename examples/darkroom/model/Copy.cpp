#include "examples/darkroom/model/Copy.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/PixelBlend.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/operations/Crop.h"

#include <algorithm>

namespace darkroom {

namespace {

/// Progress in percent after each step.
constexpr unsigned int kCropped = 40;
constexpr unsigned int kConverted = 70;

/// Whether every weight is 255.
bool fnIsFull(CqMask& mask) {
    CqImageLine line;
    for (unsigned int y = 0; y < mask.Height; ++y) {
        mask.fnAccessLine(y, &line, true);
        if (std::any_of(line.LineBuffer, line.LineBuffer + mask.Width,
                        [](unsigned char weight) { return weight != 255; }))
            return false;
    }
    return true;
}

} // namespace

bool fnCopyPart(CqImage& image, CqMask* selection, CqImage& copy, CqProgressDisplay* progress) {
    SpanProgress cropping(progress, 0, kCropped);
    SpanProgress converting(progress, kCropped, kConverted);
    SpanProgress weighting(progress, kConverted, 100);
    if (!q32Crop(image, selection ? selection->m_rectBound : fnGetWhole(image), copy, &cropping))
        return false;
    if (!selection || fnIsFull(*selection))
        return true;
    const bool opaque = copy.BitCount != 32;
    if (opaque && !fnConvertPicture(copy, 32, &converting))
        return false;
    CqImageLine pixels;
    CqImageLine weights;
    for (unsigned int y = 0; y < copy.Height; ++y) {
        copy.fnAccessLine(y, &pixels, false);
        selection->fnAccessLine(y, &weights, true);
        for (unsigned int x = 0; x < copy.Width; ++x) {
            unsigned char& alpha = pixels.LineBuffer[4 * x];
            alpha =
                static_cast<unsigned char>(fnShare(opaque ? 255 : alpha, weights.LineBuffer[x]));
        }
        if (!fnGoOn(&weighting, y, copy.Height))
            return false;
    }
    return true;
}

} // namespace darkroom
