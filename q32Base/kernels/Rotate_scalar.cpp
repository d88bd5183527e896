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

struct Weights {
    double m_d00, m_d10, m_d01, m_d11;
    /// @param x0,y0 the truncated coordinates
    Weights(double sx, double sy, double x0, double y0) {
        double fx = sx - x0;
        if (fx < 0.0)
            fx += 1.0;
        double fy = sy - y0;
        if (fy < 0.0)
            fy += 1.0;
        m_d11 = fx * fy;
        m_d10 = fx - m_d11;
        m_d01 = fy - m_d11;
        m_d00 = 1.0 - fx - fy + m_d11;
    }
    template <std::size_t kBytes>
    std::uint8_t fnSum(int p00, int p10, int p01, int p11) const {
        const double sum = kBytes == 1 ? p00 * m_d00 + p01 * m_d01 + p10 * m_d10 + p11 * m_d11
                                       : p11 * m_d11 + p01 * m_d01 + p10 * m_d10 + p00 * m_d00;
        return static_cast<std::uint8_t>(static_cast<int>(sum));
    }
};

template <std::size_t kBytes>
void fnBilinear(const RotateSource& source, std::uint8_t* target, double sx, double sy) {
    const double x0 = std::trunc(sx);
    const double y0 = std::trunc(sy);
    const Weights weights(sx, sy, x0, y0);
    const std::uint8_t* p00 = fnAt<kBytes>(source, x0, y0);
    const std::uint8_t* p10 = p00 + kBytes;
    const std::uint8_t* p01 = p00 + static_cast<std::ptrdiff_t>(kBytes) * source.m_nStride;
    const std::uint8_t* p11 = p01 + kBytes;
    for (std::size_t i = 0; i < kBytes; ++i)
        target[i] = weights.fnSum<kBytes>(p00[i], p10[i], p01[i], p11[i]);
}

template <std::size_t kBytes>
void fnFlat(const std::uint8_t* pixel, std::uint8_t* target, double sx, double sy) {
    const Weights weights(sx, sy, std::trunc(sx), std::trunc(sy));
    for (std::size_t i = 0; i < kBytes; ++i)
        target[i] = weights.fnSum<kBytes>(pixel[i], pixel[i], pixel[i], pixel[i]);
}

/// Calls `sample(source, target, x, y)` for each pixel.
template <std::size_t kBytes, class Source, class Sample>
void fnRotateRows(const Source& source, const RotateRows& rows, std::size_t count, Sample sample) {
    for (std::size_t r = 0; r < kRotateRows; ++r) {
        double sx = rows.m_dX[r];
        double sy = rows.m_dY[r];
        for (std::size_t i = 0; i < count; ++i) {
            sample(source, rows.m_pTarget[r] + i * kBytes, sx, sy);
            sx += rows.m_dCosine;
            sy -= rows.m_dSine;
        }
    }
}

template <std::size_t kBytes>
void fnRotateNearest(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    fnRotateRows<kBytes>(source, rows, count, fnNearest<kBytes>);
}

template <std::size_t kBytes>
void fnRotateBilinear(const RotateSource& source, const RotateRows& rows, std::size_t count) {
    fnRotateRows<kBytes>(source, rows, count, fnBilinear<kBytes>);
}

template <std::size_t kBytes>
void fnRotateFlat(const std::uint8_t* pixel, const RotateRows& rows, std::size_t count) {
    fnRotateRows<kBytes>(pixel, rows, count, fnFlat<kBytes>);
}

} // namespace
} // namespace scalar

void fnUseScalarRotate(Kernels& table) {
    table.fnRotateNearest8 = scalar::fnRotateNearest<1>;
    table.fnRotateNearest24 = scalar::fnRotateNearest<3>;
    table.fnRotateNearest32 = scalar::fnRotateNearest<4>;
    table.fnRotateBilinear8 = scalar::fnRotateBilinear<1>;
    table.fnRotateBilinear24 = scalar::fnRotateBilinear<3>;
    table.fnRotateBilinear32 = scalar::fnRotateBilinear<4>;
    table.fnRotateFlat8 = scalar::fnRotateFlat<1>;
    table.fnRotateFlat24 = scalar::fnRotateFlat<3>;
    table.fnRotateFlat32 = scalar::fnRotateFlat<4>;
}

} // namespace q32
