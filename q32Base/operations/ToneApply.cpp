#include "q32Base/operations/ToneApply.h"

#include "q32Base/image/CqImage.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <cstddef>
#include <cstdint>

namespace {

constexpr double kToneApplyPixelTime = 0.1; ///< nanoseconds

/// Maps a run of pixels through the three curves, which follow each other.
class CurvesRun {
public:
    CurvesRun(const CqTileMap& map, const CqToneCurves& curves)
        : m_Curves(curves),
          m_pRun(map.BitCount == 8
                     ? nullptr
                     : q32::fnKernels().*q32::fnPixelFormat(map.BitCount).m_pChannelCurves) {
        static_assert(sizeof(CqToneCurves) == 3 * 256);
    }

    void operator()(unsigned char* pixels, std::size_t count) const {
        if (m_pRun)
            m_pRun(pixels, count, m_Curves.m_Red);
        else
            q32::fnKernels().fnCurve8(pixels, count, m_Curves.m_Red);
    }

private:
    const CqToneCurves& m_Curves;
    q32::ChannelCurvesRun m_pRun;
};

} // namespace

bool q32ApplyToneCurves(CqImage& image, const CRect* rect, const CqToneCurves& curves,
                        CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    const CqTileMap& map = *image.TileMap;
    CRect inside = q32::fnWholeRect(map);
    if ((map.BitCount == 8 ? !map.GrayScale : map.BitCount < 16) ||
        (rect && !inside.IntersectRect(*rect, q32::fnWholeRect(map))))
        return false;
    const CurvesRun run(map, curves);
    const bool done =
        q32::fnForEachBand(map, inside, kToneApplyPixelTime, progress,
                           [&](std::uint32_t, const q32::TilePiece& piece) {
                               const auto width = static_cast<std::size_t>(piece.m_rect.Width());
                               const auto height = static_cast<std::size_t>(piece.m_rect.Height());
                               if (piece.m_nStride == width * map.BytesPerPixel)
                                   return run(piece.m_pPixels, width * height);
                               for (std::size_t row = 0; row < height; ++row)
                                   run(piece.m_pPixels + row * piece.m_nStride, width);
                           });
    map.fnRequirePixels();
    return done;
}
