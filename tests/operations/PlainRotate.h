/// @file
/// Rotation written pixel by pixel straight from its rule.
#pragma once

#include "tests/operations/PlainImage.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace q32::test {

using Pixel = std::array<unsigned char, 4>;

/// Rows of pixels of full bytes.
struct Picture {
    int width = 0;
    int height = 0;
    unsigned int bytes = 0;
    Rows rows;

    Picture(int w, int h, unsigned int b)
        : width(w), height(h), bytes(b),
          rows(static_cast<std::size_t>(h), Bytes(static_cast<std::size_t>(w) * b)) {}
    explicit Picture(const CqImage& image)
        : width(static_cast<int>(image.Width)), height(static_cast<int>(image.Height)),
          bytes(image.BytesPerPixel), rows(fnRows(image)) {}

    unsigned char* fnAt(int x, int y) {
        return &rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x) * bytes];
    }
    /// The pixel, or the background for a place outside.
    Pixel fnGet(double x, double y, const Pixel& background) {
        if (x < 0 || y < 0 || x >= width || y >= height)
            return background;
        Pixel pixel{};
        std::copy_n(fnAt(static_cast<int>(x), static_cast<int>(y)), bytes, pixel.begin());
        return pixel;
    }
};

struct PlainRotation {
    double s, c;
    CPoint center, newCenter;
    Pixel background;
    bool blend;
};

/// The internal angle: reduced by multiples of 360, then negated.
inline double fnPlainAngle(double angle) {
    double a = std::fabs(angle);
    while (a > 359.9999999999)
        a -= 360.0;
    return angle >= 0.0 ? -a : a;
}

/// Size of the new map, and the new pivot, for any angle.
inline void fnPlainBox(int width, int height, PlainRotation& turn, bool antiAlias,
                       std::int64_t& newWidth, std::int64_t& newHeight) {
    double minX = std::numeric_limits<double>::max();
    double minY = minX;
    double maxX = std::ldexp(1.0, -1022);
    double maxY = maxX;
    for (const bool right : {false, true})
        for (const bool bottom : {false, true}) {
            const double x = (right ? width - 1.0 : 0.0) + -double(turn.center.x);
            const double y = (bottom ? height - 1.0 : 0.0) + -double(turn.center.y);
            const double tx = x * turn.c - y * turn.s;
            const double ty = y * turn.c + x * turn.s;
            minX = tx < minX ? tx : minX;
            minY = ty < minY ? ty : minY;
            maxX = tx > maxX ? tx : maxX;
            maxY = ty > maxY ? ty : maxY;
        }
    double endX = std::trunc(maxX);
    if (maxX - endX > 1e-10)
        endX += 1.0;
    double endY = std::trunc(maxY);
    if (maxY - endY > 1e-10)
        endY += 1.0;
    newWidth = std::int64_t(endX - std::trunc(minX)) + (antiAlias ? 5 : 3);
    newHeight = std::int64_t(endY - std::trunc(minY)) + (antiAlias ? 5 : 3);
    turn.newCenter = {static_cast<LONG>(newWidth / 2), static_cast<LONG>(newHeight / 2)};
}

inline double fnPlainRound(double v) {
    return v >= 0 ? std::trunc(v + 0.5) : std::trunc(v - 0.5);
}

inline Pixel fnPlainBlend(Picture& from, double sx, double sy, const Pixel& background) {
    const double x0 = std::trunc(sx);
    const double y0 = std::trunc(sy);
    const Pixel p00 = from.fnGet(x0, y0, background);
    const Pixel p10 = from.fnGet(x0 + 1, y0, background);
    const Pixel p11 = from.fnGet(x0 + 1, y0 + 1, background);
    const Pixel p01 = from.fnGet(x0, y0 + 1, background);
    double fx = sx - x0;
    if (fx < 0)
        fx += 1.0;
    double fy = sy - y0;
    if (fy < 0)
        fy += 1.0;
    const double w11 = fx * fy;
    const double w10 = fx - w11;
    const double w01 = fy - w11;
    const double w00 = 1.0 - fx - fy + w11;
    Pixel pixel{};
    for (std::size_t k = 0; k < from.bytes; ++k) {
        double value;
        if (from.bytes == 1)
            value = p00[k] * w00 + p01[k] * w01 + p10[k] * w10 + p11[k] * w11;
        else
            value = p11[k] * w11 + p01[k] * w01 + p10[k] * w10 + p00[k] * w00;
        pixel[k] = static_cast<unsigned char>(static_cast<int>(value));
    }
    return pixel;
}

/// Any angle: running coordinates within each tile of 128 by 128.
inline void fnPlainRotateAny(Picture& from, Picture& to, const PlainRotation& turn) {
    for (int top = 0; top < to.height; top += 128)
        for (int left = 0; left < to.width; left += 128) {
            const double dx = double(left) - double(turn.newCenter.x);
            const double dy = double(top) - double(turn.newCenter.y);
            double rowX = dx * turn.c + dy * turn.s + turn.center.x;
            double rowY = dy * turn.c - dx * turn.s + turn.center.y;
            for (int y = top; y < top + 128 && y < to.height; ++y) {
                double sx = rowX;
                double sy = rowY;
                for (int x = left; x < left + 128 && x < to.width; ++x) {
                    const Pixel pixel = turn.blend ? fnPlainBlend(from, sx, sy, turn.background)
                                                   : from.fnGet(fnPlainRound(sx), fnPlainRound(sy),
                                                                turn.background);
                    std::copy_n(pixel.begin(), to.bytes, to.fnAt(x, y));
                    sx += turn.c;
                    sy -= turn.s;
                }
                rowX += turn.s;
                rowY += turn.c;
            }
        }
}

/// A rotation by a right angle; pixels that land outside are dropped.
inline void fnPlainQuarter(Picture& from, Picture& to, bool left) {
    for (int y = 0; y < from.height; ++y)
        for (int x = 0; x < from.width; ++x) {
            const int toX = left ? y : from.height - 1 - y;
            const int toY = left ? from.width - 1 - x : x;
            if (toX < to.width && toY < to.height)
                std::copy_n(from.fnAt(x, y), from.bytes, to.fnAt(toX, toY));
        }
}

} // namespace q32::test
