#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QRgb>

class CqImage;

namespace q32::qt {

class Overview;

/// How a picture lies under a canvas: pixel (x, y) of the canvas shows the image's pixel
/// floor((x + origin.x) / zoom), and the same for y.
struct SamplePlace {
    QPoint m_Origin;
    double m_Zoom = 1.0;
};

/// Column or row of the image under a canvas pixel; may lie outside of the image.
long long fnSampleIndex(int pixel, int origin, double zoom);

/// Draws a part of the scaled image on a canvas of Format_RGB32, through the library's gamma if
/// that is in effect: each pixel is the nearest one of the image or, in cells of which the overview
/// has a reduced copy for this zoom, of that copy. Goes tile by tile; tiles outside of the part are
/// not touched. What lies outside of the image stays.
/// @param overview  made ready for this image; may be null
/// @return the part that was drawn
QRect fnSampleTiles(const CqImage& image, const Overview* overview, const SamplePlace& place,
                    const QRect& part, QImage& canvas);

/// Moves all pixels of a canvas; what nothing moves onto stays.
void fnScrollPixels(QImage& canvas, const QPoint& by);

/// Fills a part, which must lie on the canvas, with a colour.
void fnFillPixels(QImage& canvas, const QRect& part, QRgb color);

} // namespace q32::qt
