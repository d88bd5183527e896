#pragma once

#include "q32Base/image/CqImage.h"

/// An 8-bit grey image with a position. Each byte is a weight: 0 selects nothing, 255 everything.
///
/// Masks combine by addition and subtraction: the bitmap grows or shrinks to the resulting area,
/// and the bound rectangle follows. Sums that overflow as signed bytes become 255, all others keep
/// their low eight bits: 100 and 100 give 255, but 200 and 100 give 44. This is deliberate: keep
/// weights below 128, or at 255.
class Q32_API CqMask : public CqImage {
public:
    static const CRuntimeClass classCqMask;

    /// No bitmap and an empty rectangle.
    CqMask() = default;
    /// Calls `fnAlloc`.
    CqMask(unsigned int width, unsigned int height);
    /// Calls the assignment.
    CqMask(CqMask& other);

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Copies bitmap and rectangle, `Title` if the source's isn't empty, `TitleFlag` and both
    /// resolutions. A source without a bitmap gives a mask without one. Assigning a mask to itself
    /// loses its pixels, deliberately, as for images. Raises the memory exception, with this mask
    /// unchanged.
    CqMask& operator=(CqMask& other);

    /// Allocates the bitmap, its pixels not set, and places it at (0, 0). Raises the memory
    /// exception.
    void fnAlloc(unsigned int width, unsigned int height);
    /// Loads a bitmap resource without conversion and places it at (0, 0); `depth` isn't read. A
    /// failure leaves a rectangle of one pixel.
    void fnLoad(int id, unsigned int depth) override;

    /// Adds another mask to this one, or subtracts it. Subtraction removes full strips at the edges
    /// of the bitmap; a mask that is completely covered gets an empty rectangle and keeps its
    /// bitmap. Raises the memory exception, with this mask unchanged.
    void fnMerge(CqMask& other, bool add);
    /// The sum or difference in a new mask, by the rules of `fnMerge`.
    CqMask operator+(CqMask& other);
    CqMask operator-(CqMask& other);
    /// The same as `fnMerge`.
    CqMask& operator+=(CqMask& other);
    CqMask& operator-=(CqMask& other);

    /// Move the mask; the pixels stay.
    void fnSetPos(const CPoint& pos);
    void fnOffsetPos(int dx, int dy);
    void fnOffsetPos(const CPoint& delta);

    CRect m_rectBound; ///< where the bitmap lies, in the coordinates of some other image
};
