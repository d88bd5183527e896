#pragma once

#include "q32Base/image/CqImage.h"

/// A grey image of 8 bits that knows where it lies. A byte is a weight: 0 nothing, 255 all.
class Q32_API CqMask : public CqImage {
public:
    static const CRuntimeClass classCqMask;

    /// No bitmap and an empty rectangle.
    CqMask() = default;
    /// Calls `fnAlloc`.
    CqMask(unsigned int width, unsigned int height);

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Makes the bitmap, its pixels not set, and places it at (0, 0). Raises the memory exception.
    void fnAlloc(unsigned int width, unsigned int height);

    CRect m_rectBound; ///< where the bitmap lies, in the coordinates of some other image
};
