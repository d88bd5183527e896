#include "q32Base/operations/Blur.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/BandWalk_p.h"
#include "q32Base/operations/Blur_p.h"
#include "q32Base/operations/ImageStorage_p.h"
#include "q32Base/operations/TilePieces_p.h"
#include "q32Base/services/ProgressRun_p.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

constexpr double kSharpenTime = 3.0; ///< nanoseconds, for a pixel

/// The blurred pixels of an image in new storage, or null after an abort.
/// @param percent  what the reports add up to
std::unique_ptr<CqTileMap> fnMakeBlurred(const CqImage& image, double sigma,
                                         CqProgressDisplay* progress, unsigned percent = 100) {
    const CqTileMap& from = *image.TileMap;
    std::unique_ptr<CqTileMap> map(q32::fnNew<CqTileMap>(from.Width, from.Height, from.BitCount,
                                                         from.Palette.get(), from.PaletteCount));
    if (!q32::fnBlurMap(from, *map, q32::fnMakeBlurKernel(sigma), progress, percent))
        map.reset();
    return map;
}

bool fnCanBlur(const CqImage& image, double sigma) {
    return image.TileMap && q32::fnHasBrightness(*image.TileMap) && sigma > 0.0;
}

/// Sharpens bytes, replacing those of the blurred image.
class Sharpening {
public:
    Sharpening(unsigned int amount, unsigned int threshold)
        : m_nAmount(static_cast<int>(std::min(amount, 10000u))),
          m_nThreshold(static_cast<int>(std::min(threshold, 256u))) {}

    void fnRun(const unsigned char* source, unsigned char* blurred, std::size_t count) const {
        for (std::size_t i = 0; i < count; ++i) {
            const int away = source[i] - blurred[i];
            const int size = std::abs(away);
            int change = size < m_nThreshold ? 0 : (size * m_nAmount + 50) / 100;
            if (away < 0)
                change = -change;
            blurred[i] = static_cast<unsigned char>(std::clamp(source[i] + change, 0, 255));
        }
    }
    /// The same for pixels of 32 bits.
    void fnRun32(const unsigned char* source, unsigned char* blurred, std::size_t pixels) const {
        for (; pixels > 0; --pixels, source += 4, blurred += 4) {
            if (source[0] == 0)
                std::copy_n(source + 1, 3, blurred + 1);
            else
                fnRun(source + 1, blurred + 1, 3);
            blurred[0] = source[0];
        }
    }

private:
    int m_nAmount;
    int m_nThreshold;
};

constexpr unsigned kBlurPercent = 70; ///< of sharpening

/// Sharpens from the blurred pixels in `map`, in place. False after an abort.
bool fnSharpenFrom(const CqTileMap& from, CqTileMap& map, const Sharpening& sharpening,
                   CqProgressDisplay* progress) {
    const auto run = [&](const unsigned char* source, unsigned char* blurred, std::size_t pixels) {
        if (from.BytesPerPixel == 4)
            sharpening.fnRun32(source, blurred, pixels);
        else
            sharpening.fnRun(source, blurred, pixels * from.BytesPerPixel);
    };
    const CRect whole = q32::fnWholeRect(from);
    const q32::ProgressRun reports(progress, from.Height, kBlurPercent, 100 - kBlurPercent);
    // Without reports, all of it is divided at once.
    const LONG rows = progress ? static_cast<LONG>(CqTileMap::kMaxTileSize) : whole.bottom;
    for (LONG top = 0; top < whole.bottom; top += rows) {
        const CRect band(0, top, whole.right, std::min(top + rows, whole.bottom));
        q32::fnDividePlaces(band, 0, top, kSharpenTime, [&](const CRect& part, LONG x, LONG y) {
            q32::fnForEachRun(from, part, map, x, y, run);
        });
        if (reports.fnAborts(static_cast<std::uint32_t>(top)))
            return false;
    }
    return true;
}

} // namespace

q32::BlurKernel q32::fnMakeBlurKernel(double sigma) {
    constexpr std::uint32_t kSideLimit = 17;
    constexpr double kMaxSide = 85.0; // up to there the centre is the greatest
    BlurKernel best;
    if (!(sigma > 0.0))
        return best;
    const double variance = std::min(sigma, kMaxBlurSigma) * std::min(sigma, kMaxBlurSigma);
    const auto root = static_cast<std::uint32_t>(std::sqrt(4.0 * variance + 1.0));
    const std::uint32_t low = root - (root + 1) % 2;
    double bestError = variance;
    for (std::uint32_t wider = 0; wider <= 3; ++wider) {
        const BlurKernel boxes = {low + (wider >= 2 ? 2 : 0), low + (wider % 2 != 0 ? 2 : 0), 0};
        const double missing =
            variance - (2.0 * boxes.m_nPair * boxes.m_nPair +
                        static_cast<double>(boxes.m_nThird) * boxes.m_nThird - 3.0) /
                           12.0;
        const double side =
            low < kSideLimit ? std::clamp(std::floor(128.0 * missing + 0.5), 0.0, kMaxSide) : 0.0;
        const double error = std::fabs(missing - side / 128.0);
        if (wider == 0 || error < bestError) {
            best = boxes;
            best.m_nSide = static_cast<std::uint32_t>(side);
            bestError = error;
        }
    }
    return best;
}

unsigned int q32GetBlurReach(double sigma) {
    return q32::fnMakeBlurKernel(sigma).fnGetReach();
}

bool q32Blur(CqImage& image, double sigma, CqProgressDisplay* progress) {
    if (!fnCanBlur(image, sigma))
        return false;
    std::unique_ptr<CqTileMap> map = fnMakeBlurred(image, sigma, progress);
    return map && q32::ImageStorage::fnReplace(image, std::move(map), progress);
}

bool q32Sharpen(CqImage& image, double sigma, unsigned int amount, unsigned int threshold,
                CqProgressDisplay* progress) {
    if (!fnCanBlur(image, sigma))
        return false;
    std::unique_ptr<CqTileMap> map = fnMakeBlurred(image, sigma, progress, kBlurPercent);
    if (!map || !fnSharpenFrom(*image.TileMap, *map, Sharpening(amount, threshold), progress))
        return false;
    return q32::ImageStorage::fnReplace(image, std::move(map), progress);
}
