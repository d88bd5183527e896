#include "plugins/RowBands_p.h"

#include <cmath>

namespace q32 {

namespace {

/// What storing a band takes, in overheads of a task. Each band may have to wait for a thread that
/// the system has given to another program, so there should be few of them.
constexpr double kBandTime = 20.0;
/// With fewer bands, most of the picture is stored while nothing is decoded.
constexpr double kMinBands = 4.0;
/// Both bands, so that a service with a large overhead doesn't demand much memory.
constexpr double kMaxBandBytes = 16.0 * (1 << 20);

} // namespace

RowBands::RowBands(std::uint32_t rows, std::size_t rowBytes, double nanoseconds, std::uint64_t most)
    : m_nRows(rows), m_nRowBytes(rowBytes) {
    const double band =
        std::max(std::ceil(kBandTime * fnGetTaskOverhead() / std::max(nanoseconds, 1e-3)), 1.0);
    const double bytes = 2.0 * band * static_cast<double>(rowBytes);
    if (fnCountPictureThreads() > 1 && kMinBands * band <= rows &&
        bytes <= std::min(static_cast<double>(most), kMaxBandBytes))
        m_nBand = static_cast<std::uint32_t>(band);
    m_pRows = std::make_unique_for_overwrite<unsigned char[]>(
        m_nBand == 0 ? rowBytes : 2 * m_nBand * rowBytes);
}

} // namespace q32
