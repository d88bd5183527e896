#pragma once

#include "platforms/headless/CqHeadlessCalls.h"

/// Calls to the screen and its device contexts made while painting.
struct CqHeadlessPaintCalls {
    CqHeadlessCalls m_IconTitleFont; ///< queries of the font for icon titles
    CqHeadlessCalls m_CreateFont;    ///< creations of a font
    CqHeadlessCalls m_CreateBitmap;  ///< creations of an off-screen bitmap
    CqHeadlessCalls m_CreateDC;      ///< for bitmaps
    CqHeadlessCalls m_TextMetrics;   ///< calls of `CDC::GetTextMetrics`
    CqHeadlessCalls m_TextExtent;    ///< calls of `CDC::GetTextExtentPoint32`
    CqHeadlessCalls m_DrawText;      ///< including measurements by DT_CALCRECT
    CqHeadlessCalls m_FillRect;      ///< calls of `CDC::FillRect`
    CqHeadlessCalls m_InvertRect;    ///< calls of `CDC::InvertRect`
    CqHeadlessCalls m_BitBlt;        ///< calls of `CDC::BitBlt`
};
