/// @file
/// Start and stop of the library, and what it tells of itself. The order is: attach a complete
/// platform, use the library, detach. All of it on one thread, which no other uses the library
/// beside.
#pragma once

#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// Starts the library: puts the platform in force, makes the memory policy and the display
/// property, and has both read the settings file, where a missing or unreadable one leaves their
/// defaults.
/// @return false, with nothing changed, for an incomplete platform and while the library is already
///         attached; false, after a message box, when memory ran out: the library is then not
///         attached. The platform's message service stays in force even so.
Q32_API bool q32Attach(CqPlatform platform);

/// Stops the library: destroys the dump window if there is one, whose layout goes into the settings
/// file, and the two objects, and takes the platform out of force. Nothing else is written to the
/// settings file: a host that keeps its settings calls `fnSerialize(false)` before. Images, waves
/// and whatever else came from the library must be gone by then. Without an attach, nothing
/// happens. `q32GetVMPolicy` and `q32GetDisplayProperty` answer as before until the next attach
/// begins, but there is nothing behind their answers any more.
Q32_API void q32Detach();

extern "C" {

/// The version of the library: product version halves as they stand in the module's version
/// resource, high to `dwMajorVersion` and low to `dwMinorVersion`; `dwPlatformID` 1. As many bytes
/// as `cbSize` says are zeroed first, `cbSize` among them, and it stays 0. The three other fields
/// are written whatever `cbSize` says: the record must really have its 20 bytes.
/// @return 0; 0x80004005 for a null record, without a version resource, and before the attach
Q32_API HRESULT DllGetVersion(DLLVERSIONINFO* record);
}
