#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

class CArchive;

/// The hue of a colour that has none: black, white and every grey.
inline constexpr int HSB_UNDEFINED_HUE = 32767;

/// The library's one colour value: eight bits each of alpha, red, green and blue.
///
/// The four bytes are adjacent, alpha first. `operator==` between two colours counts alpha, while
/// `fnIsEqual(other, false)` and the comparison with an RGBQUAD don't.
class Q32_API CqColor {
public:
    /// Television standards, for `fnEnsureVideoSafe`.
    enum VIDEO_TYPE : int {
        VIDEO_PAL = 0, ///< YUV, gamma 2.8
        VIDEO_NTSC = 1 ///< YIQ, gamma 2.2
    };

    /// Opaque black.
    CqColor() = default;
    CqColor(const CqColor&) = default;
    /// Opaque; the record's fourth byte is dropped.
    CqColor(const RGBQUAD& quad) { *this = quad; }
    CqColor(const PALETTEENTRY& entry) { *this = entry; }
    /// Opaque, from red in bits 0 to 7, green in bits 8 to 15 and blue in bits 16 to 23.
    CqColor(unsigned long packed) { *this = packed; }
    /// Each channel from 0 to 255; an alpha of 255 is opaque.
    CqColor(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha)
        : m_Alpha(alpha), m_Red(red), m_Green(green), m_Blue(blue) {}
    /// Opaque; numbers below 0 count as 0, and those above 255 as 255.
    CqColor(int red, int green, int blue)
        : m_Red(fnClamp(red)), m_Green(fnClamp(green)), m_Blue(fnClamp(blue)) {}

    /// Copies alpha too.
    void operator=(const CqColor& other) {
        fnSet(other.m_Red, other.m_Green, other.m_Blue, other.m_Alpha);
    }
    /// Opaque, from the forms that the constructors take.
    void operator=(const RGBQUAD& quad) { fnSet(quad.rgbRed, quad.rgbGreen, quad.rgbBlue, 255); }
    void operator=(const PALETTEENTRY& entry) {
        fnSet(entry.peRed, entry.peGreen, entry.peBlue, 255);
    }
    void operator=(unsigned long packed) {
        fnSet(static_cast<BYTE>(packed), static_cast<BYTE>(packed >> 8),
              static_cast<BYTE>(packed >> 16), 255);
    }

    /// Red in bits 0 to 7, green in bits 8 to 15, blue in bits 16 to 23; alpha is left out.
    operator unsigned long() const {
        return m_Red | static_cast<unsigned long>(m_Green) << 8 |
               static_cast<unsigned long>(m_Blue) << 16;
    }

    /// Compare all four channels.
    bool operator==(const CqColor& other) const { return fnIsEqual(other, true); }
    bool operator!=(const CqColor& other) const { return !fnIsEqual(other, true); }
    /// Compares red, green and blue. The pointer must be valid.
    bool operator==(const RGBQUAD* quad) const {
        return m_Red == quad->rgbRed && m_Green == quad->rgbGreen && m_Blue == quad->rgbBlue;
    }
    bool operator!=(const RGBQUAD* quad) const { return !(*this == quad); }
    /// Compares red, green and blue, and alpha too if `compareAlpha` is set.
    bool fnIsEqual(const CqColor& other, bool compareAlpha) const {
        return m_Red == other.m_Red && m_Green == other.m_Green && m_Blue == other.m_Blue &&
               (!compareAlpha || m_Alpha == other.m_Alpha);
    }

    /// A copy with red, green and blue multiplied by `factor`, truncated and clamped to 0 to 255; a
    /// negative factor counts as 0. Alpha stays.
    CqColor operator*(double factor);
    /// The same in place.
    void operator*=(double factor);

    /// Sets red, green and blue from hue (degrees), saturation and brightness (0 to 255). Any
    /// values are accepted: results wrap at eight bits. The undefined hue gives the grey of that
    /// brightness. Alpha stays.
    void fnAssignFromHSB(int hue, int saturation, int brightness);
    /// Hue in degrees, 0 to 360 inclusive, or HSB_UNDEFINED_HUE; saturation and brightness from 0
    /// to 255.
    void fnConvertToHSB(int& hue, int& saturation, int& brightness) const;

    /// Darkens the colour, keeping its proportions, if a composite television signal couldn't carry
    /// it. Returns true if it was safe already. Uses the YIQ (NTSC) or YUV (PAL, every other value)
    /// transform with four-digit weights.
    bool fnEnsureVideoSafe(VIDEO_TYPE type);

    /// Saves or loads four bytes: alpha, red, green, blue. The archive's exceptions pass through.
    virtual void fnSerialize(CArchive& archive);

    unsigned char m_Alpha = 255; ///< 0 is transparent, 255 opaque
    unsigned char m_Red = 0;     ///< 0 to 255
    unsigned char m_Green = 0;   ///< 0 to 255
    unsigned char m_Blue = 0;    ///< 0 to 255

private:
    static constexpr BYTE fnClamp(int value) {
        return static_cast<BYTE>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
    void fnSet(BYTE red, BYTE green, BYTE blue, BYTE alpha) {
        m_Alpha = alpha;
        m_Red = red;
        m_Green = green;
        m_Blue = blue;
    }
};
