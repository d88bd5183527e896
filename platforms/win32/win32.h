/// @file
/// The back end for Windows.
#pragma once

#include "platforms/win32/CqWin32Options.h"
#include "platforms/win32/CqWin32Resources.h"
#include "platforms/win32/CqWin32Windows.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>

/// A complete platform of this system. Throws std::bad_alloc.
/// @param windows  holds the application, main window and other windows set by the host
Q32_API CqPlatform q32Win32Platform(const std::shared_ptr<CqWin32Windows>& windows,
                                    const CqWin32Options& options = {});

/// Creates the window service to pass to `q32Win32Platform`.
Q32_API std::shared_ptr<CqWin32Windows> q32Win32Windows();

/// Makes the library draw on a device context of the host: that of BeginPaint, or one of memory
/// with a bitmap selected into it. The result is used like one of the screen service, and destroyed
/// before the host releases its own, which it leaves as it was. Null if the system gives none.
/// Throws std::bad_alloc.
/// @param bits      depth to report; 0 for that of the device, which for memory is the screen's
/// @param codePage  of texts, as `CqWin32Options::m_nCodePage`
Q32_API std::unique_ptr<CDC> q32Win32DC(HDC dc, int bits = 0, UINT codePage = CP_ACP);

/// Deletes scratch files that are left in a directory: files named "~qd*.tmp" that nobody has open.
/// The system deletes those of a killed process by itself, but not those that were there when it
/// lost power. Files in use by any process stay.
/// @param codePage  of the path, as `CqWin32Options::m_nCodePage`
/// @return  how many were deleted; 0 also for a directory that can't be read
Q32_API std::size_t q32Win32SweepScratchFiles(const char* directory, UINT codePage = CP_ACP);
/// The same for several directories, such as the scratch paths; empty names are skipped.
Q32_API std::size_t q32Win32SweepScratchFiles(std::span<const std::string> directories,
                                              UINT codePage = CP_ACP);
