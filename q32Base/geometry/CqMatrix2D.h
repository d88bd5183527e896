#pragma once

#include "q32Base/geometry/CqPoint2D.h"

/// A 2-D affine transform. It maps a point (x, y) to:
///
///     new x = m_ScaleX x + m_ShearX y + m_TransX
///     new y = m_ShearY x + m_ScaleY y + m_TransY
///
/// Angles are in degrees; a positive one rotates positive x toward positive y. Nothing fails: a
/// singular matrix inverts into infinities.
struct Q32_API CqMatrix2D {
    /// The identity.
    constexpr CqMatrix2D() = default;
    CqMatrix2D(const CqMatrix2D&) = default;
    /// The six elements, not in the order of the fields: the scales come first, and `shearY` ahead
    /// of `shearX`.
    constexpr CqMatrix2D(double scaleX, double scaleY, double shearY, double shearX, double transX,
                         double transY)
        : m_ScaleX(scaleX), m_ShearX(shearX), m_TransX(transX), m_ShearY(shearY), m_ScaleY(scaleY),
          m_TransY(transY) {}
    /// Scales and then rotates about `centre`, and translates last: the centre itself moves by the
    /// translation only. The angle is first reduced to -360 to 360, both included; only an angle of
    /// exactly 0 skips sine and cosine.
    CqMatrix2D(const CqPoint2D& centre, double scaleX, double scaleY, double angle, double transX,
               double transY);

    CqMatrix2D& operator=(const CqMatrix2D&) = default;

    /// All six elements equal within GEOM_EPSILON.
    bool operator==(const CqMatrix2D& other) const;
    /// Not the negation of `operator==`, deliberately. True when m_ScaleX differs, or m_ShearX and
    /// m_TransX both differ, or m_ShearY and m_ScaleY both differ, or m_TransY differs.
    bool operator!=(const CqMatrix2D& other) const;

    // These four set all six elements, whatever their values were; to combine transforms, call
    // fnConcat.

    /// Becomes the identity.
    void fnIdentity() { *this = CqMatrix2D(); }
    /// Becomes a translation.
    void fnTranslate(double tx, double ty) { *this = CqMatrix2D(1.0, 1.0, 0.0, 0.0, tx, ty); }
    /// Becomes a scale about the origin; a negative factor mirrors.
    void fnScale(double sx, double sy) { *this = CqMatrix2D(sx, sy, 0.0, 0.0, 0.0, 0.0); }
    /// Becomes a rotation about the origin; the angle is not reduced.
    void fnRotate(double angle);

    /// Becomes the transform that applies this matrix first and `next` after it.
    void fnConcat(const CqMatrix2D& next) { fnConcat(next, *this); }
    /// Writes that transform to `result`, which may be this matrix or `next`. When all four shears
    /// are below GEOM_EPSILON they are dropped: the result's shears are exactly 0.
    void fnConcat(const CqMatrix2D& next, CqMatrix2D& result) const;
    /// Inverts in place. Shears that are both below GEOM_EPSILON become exactly 0.
    void fnInverse();

    /// Whether the scales are 1 or, deliberately, -1, with no shear and no translation, within
    /// GEOM_EPSILON.
    bool fnIsIdentity() const;
    /// Whether there is no shear, and both scales are other than 1 and -1. Translations are
    /// ignored, and a scale along only one axis gives false, deliberately.
    bool fnHasScaleOnly() const;
    /// Whether scales and shears are all near zero and the translation isn't. A matrix of
    /// `fnTranslate` gives false, deliberately: its scales are 1.
    bool fnHasTranslateOnly() const;

    double m_ScaleX = 1.0; ///< factor of x in the new x
    double m_ShearX = 0.0; ///< factor of y in the new x
    double m_TransX = 0.0; ///< added to the new x
    double m_ShearY = 0.0; ///< factor of x in the new y
    double m_ScaleY = 1.0; ///< factor of y in the new y
    double m_TransY = 0.0; ///< added to the new y
};

static_assert(std::is_trivially_copyable_v<CqMatrix2D> && std::is_standard_layout_v<CqMatrix2D>);
static_assert(sizeof(CqMatrix2D) == 6 * sizeof(double));
