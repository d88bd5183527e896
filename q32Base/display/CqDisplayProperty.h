#pragma once

#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>

namespace q32 {
class GammaPause;
}

/// The screen's properties and the preparation of pixels for it: size, resolution and depth, a
/// gamma curve, a fixed palette of 216 colours with an ordered dither for screens of 256 colours,
/// and a dither to 5 bits a channel for screens of 16 bits.
///
/// The library has one, which `q32GetDisplayProperty` returns. Its pixel routines only read it and
/// may be called from any thread. `fnUpdate`, `fnEnableGamma` and `fnSetGammaValue` replace tables
/// in place; call them from the thread that draws.
///
/// On 8-bit screens gamma is applied only through the palette. On others pixels pass through
/// `fnGammaCorrect`, and on those of 16 bits then through `fnHiColorDither`. The position (nX, nY)
/// passed to a dither is the pixel's position in the image, so that the pattern stays fixed to the
/// image when tiles and lines are drawn one by one.
class Q32_API CqDisplayProperty {
public:
    /// Reads the screen's metrics, and builds the tables and the palette, with gamma on at the
    /// neutral 180. Raises the memory exception.
    CqDisplayProperty();
    ~CqDisplayProperty();
    CqDisplayProperty(const CqDisplayProperty&) = delete;
    CqDisplayProperty& operator=(const CqDisplayProperty&) = delete;

    /// Reads the screen's metrics again, after a change of the display mode. Raises the memory
    /// exception, with everything unchanged, also when the screen provides no device context.
    void fnUpdate();
    /// Reads the settings (true) or writes them (false). Values that the file lacks stay unchanged;
    /// a gamma value from the file is clamped to 1 to 799, and has no effect while gamma is off.
    /// False when the file's location is unknown, a write fails, or gamma can't be switched on.
    bool fnSerialize(bool bLoad);

    /// Width and height of the screen in pixels.
    CSize fnGetDisplaySize() const { return {m_nDisplayWidth, m_nDisplayHeight}; }
    /// Horizontal and vertical resolution of the screen in dots per inch.
    CSize fnGetDPI() const { return {m_nDpiX, m_nDpiY}; }
    /// Bits a pixel used for drawing. A screen of 16 bits counts as one of 24.
    unsigned int fnGetColorDepth() const { return m_nColorDepth; }

    /// Whether `fnHiColorDither` has an effect; initially true. It is one of the settings.
    void fnEnableHiColorDither(bool bEnable) { m_bHiColorDither = bEnable; }
    bool fnIsHiColorDitherEnabled() const { return m_bHiColorDither; }
    /// Whether the screen really has 16 bits a pixel.
    bool fnIsHiColorDisplay() const { return m_bHiColorDisplay; }

    /// The gamma in force while gamma is on; 180 is neutral.
    unsigned int fnGetGammaValue() const { return m_nGammaValue; }
    /// Whether gamma is on; initially true.
    bool fnIsGammaEnabled() const { return m_bGammaEnabled; }
    /// Whether gamma is on and changes anything.
    bool fnIsGammaInEffect() const { return m_bGammaEnabled && m_nGammaValue != kNeutralGamma; }
    /// Sets the gamma and rebuilds curve and palette. 180 is neutral, more is brighter. While gamma
    /// is off the value is ignored, deliberately: switch gamma on first. 0 is accepted: everything
    /// but 255 becomes black.
    void fnSetGammaValue(unsigned int nValue);
    /// Switches gamma on or off. The palette keeps its gamma when gamma is switched off, and is
    /// rebuilt without gamma when it is switched on, until the value next changes; both are
    /// deliberate. When memory runs out, shows the library's message, leaves gamma off and returns
    /// false.
    bool fnEnableGamma(bool bEnable);

    /// Applies the gamma curve, if it is in effect, to `nCount` pixels in place: for `nBits` 24 to
    /// three bytes a pixel, else to the first three of four.
    void fnGammaCorrect(unsigned char* pPixels, unsigned int nCount, unsigned int nBits) const;
    /// The same for all rows of a bitmap, whose pixels follow header and colour table, with rows
    /// `nPitch` bytes apart.
    void fnGammaCorrect(BITMAPINFOHEADER* pDib, unsigned long nPitch) const;

    /// The palette of 216 colours: red x 36 + green x 6 + blue, in steps of 51. Shared by all
    /// instances.
    CPalette* fnGetPalette666() const { return &m_Pal666; }
    /// Converts image pixels to indices of that palette. `nBits` 16: 5-6-5, high byte first; 32:
    /// alpha, red, green, blue; else red, green, blue. Where the pattern's threshold is 0, black
    /// becomes index 43 and white 0, deliberately.
    void fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst, unsigned int nBits, int nX,
                        int nY, int nCount) const;
    /// The same for a block. Source rows follow each other without padding; `pDst` is the topmost
    /// row, and each further one is `nPitch` bytes lower in memory.
    void fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst, unsigned long nPitch,
                        unsigned int nBits, int nX, int nY, int nWidth, int nHeight) const;

    /// Rounds pixels of three bytes to 5 bits a channel, in place, if this dither is on. `nBits`
    /// isn't read.
    void fnHiColorDither(unsigned char* pPixels, unsigned int nCount, unsigned int nBits, int nX,
                         int nY) const;
    /// The same for all rows of a bitmap, whatever depth its header declares. (nX, nY) is the
    /// position of the row that is last in memory, the topmost on the screen.
    void fnHiColorDither(BITMAPINFOHEADER* pDib, unsigned long nPitch, int nX, int nY) const;

protected:
    /// Size of an ordered-dither table. Any value but the first two means 8 by 8.
    enum DITHER_PATTERN : int {
        DITHER_2X2 = 0, ///< ranks 0 to 3
        DITHER_4X4 = 1, ///< ranks 0 to 15
        DITHER_8X8 = 2  ///< ranks 0 to 63
    };

    static constexpr unsigned int kNeutralGamma = 180; ///< the value that changes nothing

    /// Fills a square ordered-dither table, row by row, with the ranks from 0 on.
    void fnBuildDitherTable(unsigned char* pTable, DITHER_PATTERN ePattern);
    /// Fills `m_pMappingTable`.
    void fnPrepareMappingTable();
    /// Fills `m_pGammaCurve` for the present value. The entries are truncated results of std::pow;
    /// where std::pow isn't accurate to the last digit, rare entries may differ by 1.
    void fnCalcGammaCurve();
    /// Writes the entries of `m_Pal666`, through the curve if gamma is on at present.
    void fnBuild666Palette();

    static CPalette m_Pal666; ///< made by the first constructor, kept until the program ends

    std::int32_t m_nDisplayWidth = 0;                 ///< pixels
    std::int32_t m_nDisplayHeight = 0;                ///< pixels
    std::int32_t m_nDpiX = 0;                         ///< dots per inch
    std::int32_t m_nDpiY = 0;                         ///< dots per inch
    std::uint32_t m_nColorDepth = 0;                  ///< bits a pixel; 24 for a screen of 16
    bool m_bHiColorDisplay = false;                   ///< whether the screen has 16
    bool m_bHiColorDither = true;                     ///< whether pixels are dithered for it
    unsigned char m_byHiColorPattern[16];             ///< 4 rows of 4, values 0 to 15
    bool m_bGammaEnabled = true;                      ///< whether gamma is on
    std::uint32_t m_nGammaValue = kNeutralGamma;      ///< as set
    std::unique_ptr<unsigned char[]> m_pGammaCurve;   ///< 256 bytes, while gamma is on
    unsigned char m_byDitherPattern[64];              ///< 8 rows of 8, values 0 to 50
    std::unique_ptr<unsigned char[]> m_pMappingTable; ///< quotients by 51, then remainders, 256
                                                      ///< bytes each, while `m_nColorDepth` is 8
    // What levels 0 to 5 of a component add to an index. The tables are adjacent: level 6 reads the
    // first entry of the next table, or the spare byte after the last one, so it adds nothing.

    unsigned char m_byStep36[6]; ///< of red: 0, 36 to 180
    unsigned char m_byStep6[6];  ///< of green: 0, 6 to 30
    unsigned char m_byStep1[6];  ///< of blue: 0 to 5
    unsigned char m_bySpare = 0; ///< stands behind the last table

private:
    friend class q32::GammaPause;

    Q32_LOCAL void fnSwitchGammaOn();
    Q32_LOCAL bool fnReadSettings();
    Q32_LOCAL bool fnWriteSettings() const;

    /// Gamma is off only because memory ran out when a draw without it ended.
    bool m_bGammaOwed = false;
};

/// The library's record of the screen; null if it could not be created.
extern "C" Q32_API CqDisplayProperty* q32GetDisplayProperty();
