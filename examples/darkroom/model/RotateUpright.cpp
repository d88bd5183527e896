#include "examples/darkroom/model/RotateUpright.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/Flip.h"

#include <iterator>
#include <utility>

namespace darkroom {

namespace {

struct Upright {
    int m_nDegrees; ///< clockwise, before the flip
    bool (*m_pFlip)(CqImage& image, CqProgressDisplay* progress);
};

constexpr Upright kUprights[] = {{0, nullptr},          {0, q32FlipHorizontal},  {180, nullptr},
                                 {0, q32FlipVertical},  {90, q32FlipHorizontal}, {90, nullptr},
                                 {90, q32FlipVertical}, {270, nullptr}};

constexpr unsigned int kRotated = 50; ///< progress in percent

} // namespace

bool fnRotateUpright(CqImage& image, unsigned int orientation, CqProgressDisplay* progress) {
    if (orientation < 1 || orientation > std::size(kUprights))
        return true;
    const Upright& upright = kUprights[orientation - 1];
    SpanProgress rotating(progress, 0, kRotated);
    SpanProgress flipping(progress, kRotated, 100);
    // The library rotates no pictures of 4 bits.
    if (upright.m_nDegrees != 0 && image.BitCount == 4 && !fnConvertPicture(image, 24, &rotating))
        return false;
    if (upright.m_nDegrees != 0)
        image.fnRotate(upright.m_nDegrees, CqColor(), nullptr, false, &rotating);
    if (rotating.fnWasAborted() || (upright.m_pFlip && !upright.m_pFlip(image, &flipping)))
        return false;
    if (upright.m_nDegrees % 180 != 0)
        std::swap(image.DpiX, image.DpiY);
    return true;
}

} // namespace darkroom
