#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>

/// A bitmap of the screen's kind, or none. Owns the object that it stands for.
class Q32_API CBitmap : public CObject {
public:
    CBitmap() = default;
    ~CBitmap() override = default;

    /// Makes a bitmap for the device of `dc` by the platform in force; this object must stand for
    /// none. False on failure, memory included, and for a width or height below 1.
    bool CreateCompatibleBitmap(CDC* dc, int width, int height);
    bool HasHandle() const { return m_pObject != nullptr; }

    /// The screen's object; null when there is none.
    CqBitmapObject* GetObject() const { return m_pObject.get(); }

private:
    std::unique_ptr<CqBitmapObject> m_pObject;
};
