#pragma once

#include "q32Base/framework/ScreenObject.h"
#include "q32Base/platform/CqScreenService.h"

/// A bitmap of the screen's kind, or none. Owns the object that it stands for.
class Q32_API CBitmap : public q32::ScreenObject<CqBitmapObject> {
public:
    /// Makes a bitmap for the device of `dc` by the platform in force; this object must stand for
    /// none. False on failure, memory included, and for a width or height below 1.
    bool CreateCompatibleBitmap(CDC* dc, int width, int height);
};
