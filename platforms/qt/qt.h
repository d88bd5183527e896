/// @file
/// The back end for desktops: real windows, with Qt 6 Widgets, on a POSIX system.
#pragma once

#include "platforms/posix/posix.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <memory>

/// Options of the desktop back end.
struct CqQtOptions {
    /// Memory, files and language. `m_Others` supplies the services that neither back end provides;
    /// its screen creates palettes and regions.
    CqPosixOptions m_Posix;
    /// Depth at which the library draws: 8, 16, 24 or 32 bits per pixel; 0: the screen's own. 8
    /// bits are drawn through a software palette.
    int m_nBits = 0;
};

/// A complete platform: that of `q32PosixPlatform`, with the desktop's screen, message boxes,
/// keyboard and windows. Its services may be created and called at any time, but the screen has
/// device contexts only while the QApplication exists: attach the library after creating it, and
/// detach before destroying it. QApplication sets the user's locale; numbers that the library
/// formats, for example in dumps, use its decimal separator unless the host sets LC_NUMERIC back to
/// "C". Throws std::bad_alloc.
/// @param windows  holds the application, main window and other windows set by the host
Q32_API CqPlatform q32QtPlatform(const std::shared_ptr<CqQtWindows>& windows,
                                 const CqQtOptions& options = {});

/// Creates the window service to pass to `q32QtPlatform`.
Q32_API std::shared_ptr<CqQtWindows> q32QtWindows();

/// Whether Qt can paint on the screen: below 15 bits per pixel its windows stay black. False also
/// without an application object.
Q32_API bool q32QtCanPaint();
