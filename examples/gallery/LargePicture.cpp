#include "examples/gallery/LargePicture.h"

#include "q32Base/image/CqImageLine.h"

namespace {

/// Maps a coordinate to [0, length) when copies of that length are mirrored alternately.
unsigned int fnMirror(unsigned int place, unsigned int length) {
    const unsigned int within = place % length;
    return place / length % 2 == 0 ? within : length - 1 - within;
}

/// Half strength at the start of the range, full strength at its end.
unsigned char fnTint(unsigned char value, unsigned int place, unsigned int length) {
    return static_cast<unsigned char>(value * (length + place) / (2 * length));
}

} // namespace

void fnMakeLargePicture(CqImage& photograph, CqImage& large, ProgressLine& progress) {
    photograph.fnConvert(24, false, nullptr);
    large.fnAlloc(kLargeWidth, kLargeHeight, 24, nullptr, 0);
    large.Title = photograph.Title;
    CqImageLine from;
    CqImageLine to;
    for (unsigned int y = 0; y < kLargeHeight; ++y) {
        photograph.fnAccessLine(fnMirror(y, photograph.Height), &from, true);
        large.fnAccessLine(y, &to, false);
        unsigned char* out = to.LineBuffer;
        for (unsigned int x = 0; x < kLargeWidth; ++x, out += 3) {
            const unsigned char* in = from.LineBuffer + 3 * fnMirror(x, photograph.Width);
            out[0] = fnTint(in[0], x, kLargeWidth);
            out[1] = in[1];
            out[2] = fnTint(in[2], y, kLargeHeight);
        }
        progress.fnReport(100 * (y + 1) / kLargeHeight);
    }
}
