#include "examples/darkroom/model/Orientation.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/Flip.h"

#include <iterator>
#include <utility>

namespace darkroom {

namespace {

struct Turn {
    int m_nDegrees; ///< clockwise, before the flip
    bool (*m_pFlip)(CqImage& image, CqProgressDisplay* progress);
};

constexpr Turn kTurns[] = {{0, nullptr},          {0, q32FlipHorizontal},  {180, nullptr},
                           {0, q32FlipVertical},  {90, q32FlipHorizontal}, {90, nullptr},
                           {90, q32FlipVertical}, {270, nullptr}};

constexpr unsigned int kRotated = 50; ///< progress in percent

} // namespace

bool fnTurnUpright(CqImage& image, unsigned int orientation, CqProgressDisplay* progress) {
    if (orientation < 1 || orientation > std::size(kTurns))
        return true;
    const Turn& turn = kTurns[orientation - 1];
    SpanProgress rotating(progress, 0, kRotated);
    SpanProgress flipping(progress, kRotated, 100);
    // The library rotates no pictures of 4 bits.
    if (turn.m_nDegrees != 0 && image.BitCount == 4 && !fnConvertPicture(image, 24, &rotating))
        return false;
    if (turn.m_nDegrees != 0)
        image.fnRotate(turn.m_nDegrees, CqColor(), nullptr, false, &rotating);
    if (rotating.fnWasAborted() || (turn.m_pFlip && !turn.m_pFlip(image, &flipping)))
        return false;
    if (turn.m_nDegrees % 180 != 0)
        std::swap(image.DpiX, image.DpiY);
    return true;
}

} // namespace darkroom
