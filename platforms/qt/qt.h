/// @file
/// The back end for desktops: real windows, by Qt 6 Widgets, on a POSIX system.
#pragma once

#include "platforms/posix/posix.h"
#include "platforms/qt/CqQtWindows.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <memory>

struct CqQtOptions {
    /// Memory, files and language. `m_Others` has the services that neither back end brings; its
    /// screen makes the palettes and regions.
    CqPosixOptions m_Posix;
    /// Bits a pixel that the library draws for: 8, 16, 24 or 32; 0: the screen's own. 8 bits are
    /// drawn through a palette kept in software.
    int m_nBits = 0;
};

/// A complete platform: that of `q32PosixPlatform`, with screen, message boxes, keyboard and
/// windows of the desktop. Its services may be made and asked at any time, but the screen has
/// device contexts only while the QApplication stands: the library is to be attached after that was
/// made, and detached before it goes. QApplication puts the user's locale in force; numbers that
/// the library formats, in dumps for instance, follow its decimal sign unless the host sets
/// LC_NUMERIC back to "C". Throws std::bad_alloc.
/// @param windows  takes the application, the main window and the rest that the host tells
Q32_API CqPlatform q32QtPlatform(const std::shared_ptr<CqQtWindows>& windows,
                                 const CqQtOptions& options = {});

/// The windows service of a host, to be given to `q32QtPlatform`.
Q32_API std::shared_ptr<CqQtWindows> q32QtWindows();

/// Whether Qt can paint on the screen at all: it can't below 15 bits a pixel, where its windows
/// stay black. False also without an application object.
Q32_API bool q32QtCanPaint();
