/// @file
/// Both ways of resampling, written pixel by pixel straight from their rules.
#pragma once

#include "tests/operations/PlainImage.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace q32::test {

using Weights = std::vector<std::pair<std::int64_t, double>>;

/// Source samples of target position i, with their weights.
inline Weights fnPlainWeights(double scale, unsigned int i, std::int64_t srcCount) {
    const double width = scale >= 1.0 ? 2.0 : 2.0 / scale;
    const double center = i * (1.0 / scale);
    Weights weights;
    double sum = 0.0;
    for (double j = std::ceil(center - width); j <= std::floor(center + width); j += 1.0) {
        double d = center > j ? center - j : j - center;
        if (scale < 1.0)
            d *= scale;
        double k = 0.0;
        if (d < 1.0)
            k = ((7.0 * d - 12.0) * d * d + 5.333333333333333) * 0.16666666666666666;
        else if (d < 2.0)
            k = ((12.0 - 2.3333333333333335 * d) * d * d - 20.0 * d + 10.666666666666666) *
                0.16666666666666666;
        if (scale < 1.0)
            k *= scale;
        auto pixel = static_cast<std::int64_t>(j);
        if (pixel < -1000 * srcCount || pixel > 1000 * srcCount)
            pixel %= 2 * srcCount - 1; // two reflections move by that much
        while (pixel < 0 || pixel >= srcCount)
            pixel = pixel < 0 ? -pixel : 2 * srcCount - pixel - 1;
        weights.emplace_back(pixel, k);
        sum += k;
    }
    if (std::fabs(sum - 1.0) > 1e-10)
        for (auto& weight : weights)
            weight.second *= 1.0 / sum;
    return weights;
}

inline unsigned int fnPlainByte(double sum) {
    const double whole = std::trunc(sum + 1e-10);
    return whole < 0.0 ? 0u : whole > 255.0 ? 255u : static_cast<unsigned int>(whole);
}

/// One filtered pixel of `bytes` bytes; `at(j)` is the address of sample j.
template <typename At>
void fnPlainSample(const Weights& weights, unsigned int bytes, unsigned char* out, At at) {
    double c[4] = {};
    for (const auto& [pixel, weight] : weights) {
        const unsigned char* b = at(pixel);
        if (bytes == 2) {
            const int word = b[0] | b[1] << 8;
            c[0] += (b[0] & 0xF8) * weight;
            c[1] += ((word >> 3) & 0xFC) * weight;
            c[2] += ((b[1] << 3) & 0xFF) * weight;
        } else {
            for (unsigned int k = 0; k < bytes; ++k)
                c[k] += b[k] * weight;
        }
    }
    if (bytes == 2) {
        out[0] = static_cast<unsigned char>((fnPlainByte(c[0]) & 0xF8) | fnPlainByte(c[1]) >> 5);
        out[1] =
            static_cast<unsigned char>((fnPlainByte(c[1]) & 0xFC) << 3 | fnPlainByte(c[2]) >> 3);
    } else {
        for (unsigned int k = 0; k < bytes; ++k)
            out[k] = static_cast<unsigned char>(fnPlainByte(c[k]));
    }
}

inline Rows fnPlainWidth(const Rows& from, unsigned int bytes, unsigned int width, double scale) {
    const auto srcWidth = static_cast<std::int64_t>(from[0].size() / bytes);
    Rows to(from.size(), Bytes(std::size_t{width} * bytes));
    for (unsigned int x = 0; x < width; ++x) {
        const Weights weights = fnPlainWeights(scale, x, srcWidth);
        for (std::size_t y = 0; y < from.size(); ++y)
            fnPlainSample(weights, bytes, &to[y][std::size_t{x} * bytes], [&](std::int64_t j) {
                return &from[y][static_cast<std::size_t>(j) * bytes];
            });
    }
    return to;
}

inline Rows fnPlainHeight(const Rows& from, unsigned int bytes, unsigned int height, double scale) {
    Rows to(height, Bytes(from[0].size()));
    for (unsigned int y = 0; y < height; ++y) {
        const Weights weights = fnPlainWeights(scale, y, static_cast<std::int64_t>(from.size()));
        for (std::size_t x = 0; x < from[0].size() / bytes; ++x)
            fnPlainSample(weights, bytes, &to[y][x * bytes], [&](std::int64_t j) {
                return &from[static_cast<std::size_t>(j)][x * bytes];
            });
    }
    return to;
}

inline Rows fnPlainFilter(const Rows& from, unsigned int bits, unsigned int width,
                          unsigned int height, double scaleX, double scaleY) {
    const unsigned int bytes = bits / 8;
    if (from[0].size() == std::size_t{width} * bytes)
        return fnPlainHeight(from, bytes, height, scaleY);
    if (from.size() == height)
        return fnPlainWidth(from, bytes, width, scaleX);
    if (width < height)
        return fnPlainHeight(fnPlainWidth(from, bytes, width, scaleX), bytes, height, scaleY);
    return fnPlainWidth(fnPlainHeight(from, bytes, height, scaleY), bytes, width, scaleX);
}

/// `to` holds the target's previous content: a nibble after the last pixel is kept.
inline void fnPlainNearest(const Rows& from, std::uint32_t srcWidth, unsigned int bits,
                           unsigned int width, Rows& to) {
    const auto srcHeight = static_cast<std::uint32_t>(from.size());
    const auto height = static_cast<std::uint32_t>(to.size());
    const std::uint32_t stepX = (srcWidth << 8) / width;
    const std::uint32_t stepY = (srcHeight << 8) / height;
    for (std::uint32_t y = 0; y < height; ++y) {
        const Bytes& row = from[((y * stepY) >> 8) & 0xFFFF];
        for (std::uint32_t x = 0; x < width; ++x) {
            const std::uint32_t sx = (x * stepX) >> 8;
            if (bits == 4) {
                const int index = sx % 2 == 0 ? row[sx / 2] >> 4 : row[sx / 2] & 15;
                unsigned char& byte = to[y][x / 2];
                byte = static_cast<unsigned char>(x % 2 == 0 ? (byte & 15) | index << 4
                                                             : (byte & 0xF0) | index);
            } else {
                for (unsigned int k = 0; k < bits / 8; ++k)
                    to[y][x * bits / 8 + k] = row[sx * bits / 8 + k];
            }
        }
    }
}

} // namespace q32::test
