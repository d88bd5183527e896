#pragma once

#include "platforms/headless/CqHeadlessCalls.h"

/// Calls to the screen and its device contexts made while painting.
struct CqHeadlessPaintCalls {
    CqHeadlessCalls m_IconTitleFont;
    CqHeadlessCalls m_CreateFont;
    CqHeadlessCalls m_CreateBitmap;
    CqHeadlessCalls m_CreateDC; ///< for bitmaps
    CqHeadlessCalls m_TextMetrics;
    CqHeadlessCalls m_TextExtent;
    CqHeadlessCalls m_DrawText; ///< including measurements by DT_CALCRECT
    CqHeadlessCalls m_FillRect;
    CqHeadlessCalls m_InvertRect;
    CqHeadlessCalls m_BitBlt;
};
