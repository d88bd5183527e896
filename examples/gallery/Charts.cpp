#include "examples/gallery/Charts.h"

#include "q32Base/image/CqImageLine.h"

#include <cmath>
#include <numbers>

namespace {

constexpr int kWidth = 1200;
constexpr int kHeight = 900;
constexpr int kMiddleX = kWidth / 2;
constexpr int kMiddleY = kHeight / 2;
const CqColor kPaper(250, 248, 240, 255);
const CqColor kInk(20, 20, 30, 255);

void fnDrawFrame(CqImage& image, int margin) {
    const int right = static_cast<int>(image.Width) - 1 - margin;
    const int bottom = static_cast<int>(image.Height) - 1 - margin;
    image.fnDrawLine(margin, margin, right, margin, kInk, false);
    image.fnDrawLine(right, margin, right, bottom, kInk, false);
    image.fnDrawLine(right, bottom, margin, bottom, kInk, false);
    image.fnDrawLine(margin, bottom, margin, margin, kInk, false);
}

} // namespace

void fnMakeLineChart(CqImage& image) {
    image.fnAlloc(kWidth, kHeight, 24, nullptr, 0);
    image.fnFill(kPaper, nullptr, false);
    constexpr int kLines = 72;
    for (int i = 0; i < kLines; ++i) {
        const double angle = 2 * std::numbers::pi * i / kLines;
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        const auto at = [c, s](double radius) {
            return CPoint(static_cast<LONG>(std::lround(kMiddleX + radius * c)),
                          static_cast<LONG>(std::lround(kMiddleY + radius * s)));
        };
        const CPoint from = at(40);
        const CPoint to = at(430);
        image.fnDrawLine(from.x, from.y, to.x, to.y, kInk, false);
    }
    fnDrawFrame(image, 6);
}

void fnMakeRingChart(CqImage& image) {
    image.fnAlloc(kWidth, kHeight, 24, nullptr, 0);
    CqImageLine line;
    for (int y = 0; y < kHeight; ++y) {
        image.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        for (int x = 0; x < kWidth; ++x) {
            const double dx = x - kMiddleX;
            const double dy = y - kMiddleY;
            const double wave = std::cos(std::numbers::pi / kWidth * (dx * dx + dy * dy));
            const auto grey = static_cast<unsigned char>(127.5 + 120 * wave);
            for (int channel = 0; channel < 3; ++channel)
                line.LineBuffer[3 * x + channel] = grey;
        }
    }
}

void fnMakeGridChart(CqImage& image) {
    image.fnAlloc(400, 300, 24, nullptr, 0);
    image.fnFill(kPaper, nullptr, false);
    for (int x = 0; x < 400; x += 20)
        image.fnDrawLine(x, 0, x, 299, kInk, false);
    for (int y = 0; y < 300; y += 20)
        image.fnDrawLine(0, y, 399, y, kInk, false);
    fnDrawFrame(image, 0);
}
