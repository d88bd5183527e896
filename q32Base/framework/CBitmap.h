#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// An off-screen bitmap in the screen's format, or none. Owns the screen's object.
class Q32_API CBitmap : public q32::ScreenObject<CqBitmapObject> {
public:
    /// Creates a bitmap for the device of `dc`, `width` x `height` pixels; there must be none yet.
    /// False on failure, including exhausted memory, and for a width or height below 1.
    bool CreateCompatibleBitmap(CDC* dc, int width, int height);
};
