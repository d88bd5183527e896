#include "q32Base/kernels/KernelParts_p.h"

#include <cmath>
#include <cstring>

namespace q32 {
namespace scalar {
namespace {

double fnRound(double v) {
    return v >= 0.0 ? std::trunc(v + 0.5) : std::trunc(v - 0.5);
}

/// The pixel at integral coordinates of the image.
template <std::size_t kBytes>
const std::uint8_t* fnAt(const RotateSource& source, double x, double y) {
    const auto row = static_cast<std::ptrdiff_t>(y - source.m_dTop);
    const auto column = static_cast<std::ptrdiff_t>(x - source.m_dLeft);
    return source.m_pPixels +
           (row * source.m_nStride + column) * static_cast<std::ptrdiff_t>(kBytes);
}

template <std::size_t kBytes>
void fnNearest(const RotateSource& source, std::uint8_t* target, double sx, double sy) {
    std::memcpy(target, fnAt<kBytes>(source, fnRound(sx), fnRound(sy)), kBytes);
}

template <std::size_t kBytes>
void fnBilinear(const RotateSource& source, std::uint8_t* target, double sx, double sy) {
    const double x0 = std::trunc(sx);
    const double y0 = std::trunc(sy);
    double fx = sx - x0;
    if (fx < 0.0)
        fx += 1.0;
    double fy = sy - y0;
    if (fy < 0.0)
        fy += 1.0;
    const double w11 = fx * fy;
    const double w10 = fx - w11;
    const double w01 = fy - w11;
    const double w00 = 1.0 - fx - fy + w11;
    const std::uint8_t* p00 = fnAt<kBytes>(source, x0, y0);
    const std::uint8_t* p10 = p00 + kBytes;
    const std::uint8_t* p01 = p00 + static_cast<std::ptrdiff_t>(kBytes) * source.m_nStride;
    const std::uint8_t* p11 = p01 + kBytes;
    for (std::size_t i = 0; i < kBytes; ++i) {
        const double sum = kBytes == 1 ? p00[i] * w00 + p01[i] * w01 + p10[i] * w10 + p11[i] * w11
                                       : p11[i] * w11 + p01[i] * w01 + p10[i] * w10 + p00[i] * w00;
        target[i] = static_cast<std::uint8_t>(static_cast<int>(sum));
    }
}

using Sample = void (*)(const RotateSource&, std::uint8_t*, double, double);

template <std::size_t kBytes, Sample kSample>
void fnRotateRow(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    for (std::size_t r = 0; r < kRotateRows; ++r) {
        double sx = rows.m_dX[r];
        double sy = rows.m_dY[r];
        for (std::size_t i = 0; i < count; ++i) {
            kSample(source, rows.m_pTarget[r] + i * kBytes, sx, sy);
            sx += rows.m_dCosine;
            sy -= rows.m_dSine;
        }
    }
}

} // namespace
} // namespace scalar

void fnUseScalarRotate(Kernels& table) {
    table.fnRotateNearest8 = scalar::fnRotateRow<1, scalar::fnNearest<1>>;
    table.fnRotateNearest32 = scalar::fnRotateRow<4, scalar::fnNearest<4>>;
    table.fnRotateBilinear8 = scalar::fnRotateRow<1, scalar::fnBilinear<1>>;
    table.fnRotateBilinear32 = scalar::fnRotateRow<4, scalar::fnBilinear<4>>;
}

} // namespace q32
