#pragma once

#include "platforms/headless/CqHeadlessCalls.h"

/// Calls that painting makes of the screen and its device contexts.
struct CqHeadlessPaintCalls {
    CqHeadlessCalls m_IconTitleFont;
    CqHeadlessCalls m_CreateFont;
    CqHeadlessCalls m_CreateBitmap;
    CqHeadlessCalls m_CreateDC; ///< of those that draw on bitmaps
    CqHeadlessCalls m_TextMetrics;
    CqHeadlessCalls m_TextExtent;
    CqHeadlessCalls m_DrawText; ///< measuring by DT_CALCRECT included
    CqHeadlessCalls m_FillRect;
    CqHeadlessCalls m_InvertRect;
    CqHeadlessCalls m_BitBlt;
};
