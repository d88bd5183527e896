#include "examples/operations/Samples.h"

#include <algorithm>
#include <cmath>

CqToneCurves fnSwingingCurves() {
    CqToneCurves tone;
    for (int i = 0; i < 256; ++i) {
        tone.m_Red[i] = static_cast<unsigned char>(i * i / 255);
        tone.m_Green[i] = static_cast<unsigned char>(i);
        tone.m_Blue[i] = static_cast<unsigned char>(std::lround(std::sqrt(i * 255.0)));
    }
    return tone;
}

void fnEmboss(CqImage& image) {
    CqImage target(image.Width, image.Height, 24);
    {
        CqConvMask window(image, 3, -1);
        CqImageLine out;
        const int last = static_cast<int>(image.Width) - 1;
        for (unsigned int y = 0; y < image.Height; ++y) {
            window.fnGotoNextLine();
            unsigned char* rows[3];
            window.fnGetLine(rows[0], rows[1], rows[2]);
            target.fnAccessLine(y, &out, false);
            for (int x = 0; x <= last; ++x) {
                const int left = 3 * std::max(x - 1, 0);
                const int right = 3 * std::min(x + 1, last);
                for (int channel = 0; channel < 3; ++channel) {
                    const int sum = 2 * (rows[2][right + channel] - rows[0][left + channel]) +
                                    rows[1][right + channel] - rows[1][left + channel] +
                                    rows[2][3 * x + channel] - rows[0][3 * x + channel];
                    out.LineBuffer[3 * x + channel] =
                        static_cast<unsigned char>(std::clamp(128 + sum, 0, 255));
                }
            }
        }
    }
    image.fnSwapBuf(target);
}

CqMask fnMakeDisc(int centerX, int centerY, int radius) {
    const int side = 2 * radius + 1;
    CqMask mask;
    mask.fnAlloc(kWidth, kHeight);
    CqImageLine line;
    for (int y = 0; y < static_cast<int>(kHeight); ++y) {
        mask.fnAccessLine(y, &line, false);
        for (int x = 0; x < static_cast<int>(kWidth); ++x) {
            const int dx = x - centerX;
            const int dy = y - centerY;
            line.LineBuffer[x] = 4 * (dx * dx + dy * dy) <= side * side ? 255 : 0;
        }
    }
    line.fnUnAssociate();
    return mask;
}

CqCubicBezier2D fnWave() {
    return {CqPoint2D(10, 90), CqPoint2D(60, -40), CqPoint2D(90, 140), CqPoint2D(140, 10), 1.0};
}

void fnDrawWithPolygon(CqImage& image, CqCubicBezier2D curve) {
    const CqPoint2D* const points = curve.m_Points;
    for (int i = 0; i < 3; ++i)
        image.fnDrawLine(static_cast<int>(points[i].m_X), static_cast<int>(points[i].m_Y),
                         static_cast<int>(points[i + 1].m_X), static_cast<int>(points[i + 1].m_Y),
                         CqColor(200, 30, 30), false);
    curve.fnRasterize(image, CqColor(255, 255, 255));
}

void fnDrawSegments(CqImage& image, CqPolyline2D& segments) {
    for (int i = 0; i < segments.fnGetNumberLine(); ++i)
        segments.fnGetLine(i).fnRasterize(image, i % 2 == 0 ? CqColor(255, 255, 255)
                                                            : CqColor(200, 30, 30));
}
