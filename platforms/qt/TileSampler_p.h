#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QRgb>

class CqImage;

namespace q32::qt {

class Overview;

/// Mapping of a picture to a canvas: pixel (x, y) of the canvas shows the image's pixel floor((x +
/// origin.x + 0.5) / zoom), and likewise for y.
struct SamplePlace {
    QPoint m_Origin;
    double m_Zoom = 1.0;
    /// Transparent pixels show a checkerboard; the overview is made for that.
    bool m_bAlpha = false;
    bool m_bKeepsOne = false; ///< an image of less than half a canvas pixel is shown on one
};

/// Column or row of the image under a canvas pixel; may lie outside the image.
long long fnSampleIndex(int pixel, int origin, double zoom);

/// Draws a part of the scaled image on a canvas of Format_RGB32, through the library's gamma if
/// active: each pixel is the nearest neighbour in the image or, in cells for which the overview has
/// a reduced copy for this zoom, in that copy. Proceeds tile by tile; tiles outside the part are
/// not read. Canvas pixels outside the image are unchanged.
/// @param overview  prepared for this image; may be null
/// @return the part that was drawn
QRect fnSampleTiles(const CqImage& image, const Overview* overview, const SamplePlace& place,
                    const QRect& part, QImage& canvas);

/// Moves all pixels of a canvas; those that nothing moves onto are unchanged.
void fnScrollPixels(QImage& canvas, const QPoint& by);

/// Fills a part, which must lie within the canvas, with a colour.
void fnFillCanvas(QImage& canvas, const QRect& part, QRgb color);

} // namespace q32::qt
