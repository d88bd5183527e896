/// @file
/// Start and stop of the library, and its version. The order is: attach a complete platform, use
/// the library, detach; all on one thread, the only one that uses the library.
#pragma once

#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// Starts the library: puts the platform in force, creates the memory policy and the display
/// property, and loads both from the settings file; if that is missing or unreadable, they keep
/// their defaults.
/// @return false, with nothing changed, for an incomplete platform and while the library is already
///         attached; false, after a message box, if memory is exhausted: the library is then not
///         attached, but the platform's message service stays in force.
Q32_API bool q32Attach(CqPlatform platform);

/// The version of the library as "major.minor.patch", also while it isn't attached. The string has
/// static storage.
Q32_API const char* q32Version();

/// Stops the library: destroys the dump window, if there is one, and saves its layout in the
/// settings file; destroys the memory policy and the display property; releases the platform.
/// Nothing else is written to the settings file: to save the settings, call `fnSerialize(false)` of
/// both objects first. Images, waves and all other objects of the library must have been destroyed.
/// No effect unless attached. `q32GetVMPolicy` and `q32GetDisplayProperty` return dangling pointers
/// until the next attach begins.
Q32_API void q32Detach();

extern "C" {

/// The version of the library: the halves of the product version in the module's version resource,
/// high in `dwMajorVersion` and low in `dwMinorVersion`; `dwPlatformID` is 1. First, `cbSize` bytes
/// are zeroed, deliberately including `cbSize`, which stays 0. The three other fields are written
/// whatever `cbSize` is: the record must have its full 20 bytes.
/// @return 0; 0x80004005 for a null record, without a version resource, and while not attached
Q32_API HRESULT DllGetVersion(DLLVERSIONINFO* record);
}
