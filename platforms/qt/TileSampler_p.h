#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <QImage>
#include <QPoint>
#include <QRect>
#include <QRgb>

class CqDisplayProperty;
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
    /// Converts rows from the image's colours to those of the screen; null or empty: they are the
    /// same.
    const std::function<void(QRgb* row, int count)>* m_pColors = nullptr;
};

/// What happens to rows of pixels after sampling: the conversion of colours, then the library's
/// gamma, if they are in effect.
class RowFinish {
public:
    explicit RowFinish(const SamplePlace& place);
    bool fnIsNeeded() const { return m_pColors || m_pGamma; }
    void fnRun(std::uint32_t* row, std::size_t count) const;

private:
    const std::function<void(QRgb* row, int count)>* m_pColors;
    const CqDisplayProperty* m_pGamma;
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
