// What the table of operations shows besides single calls: masks, curves, a filter, and screens.
#pragma once

#include "q32Base/q32Base.h"

/// Size of all pictures.
inline constexpr unsigned int kWidth = 150;
inline constexpr unsigned int kHeight = 100;

/// Curves that darken red's shadows, lighten blue's, and leave green.
CqToneCurves fnSwingingCurves();
/// A filter of 3 x 3 weights on a picture of 24 bits, which looks like a relief lit from the upper
/// left.
void fnEmboss(CqImage& image);
/// A mask that selects a disc, in the coordinates of the picture.
CqMask fnMakeDisc(int centerX, int centerY, int radius);

CqCubicBezier2D fnWave();
void fnDrawWithPolygon(CqImage& image, CqCubicBezier2D curve);
/// Draws the segments of a polyline in two alternating colours.
void fnDrawSegments(CqImage& image, CqPolyline2D& segments);

/// A screen and how a picture is drawn on it.
struct Screen {
    int m_nBits = 32;
    unsigned int m_nGamma = 180; ///< neutral
    unsigned int m_nFactor = 1;
    bool m_bShrink = false;
    bool m_bDither = true;
};

/// Gives a platform a screen without a display; before the library is attached.
void fnTakeScreen(CqPlatform& platform);
/// Draws the middle of a picture on such a screen, and replaces the picture by what the screen
/// shows.
void fnShow(CqImage& image, const Screen& screen);
