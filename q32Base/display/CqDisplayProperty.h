#pragma once

#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/Values.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>

/// What the screen is, and how pixels are made ready for it: its size, resolution and depth, a
/// gamma curve, a fixed palette of 216 colours with an ordered dither for screens of 256 colours,
/// and a dither to 5 bits a channel for screens of 16 bits.
///
/// The library has one, which `q32GetDisplayProperty` returns. Its pixel routines only read; they
/// may run anywhere. `fnUpdate`, `fnEnableGamma` and `fnSetGammaValue` replace tables in place and
/// belong to the thread that draws.
///
/// On 8-bit screens gamma reaches the screen through the palette alone. On others pixels go through
/// `fnGammaCorrect`, and on those of 16 bits through `fnHiColorDither` after it. A place (nX, nY)
/// given to a dither is the pixel's place in the image, so that the pattern stays fixed to it when
/// tiles and lines are drawn one by one.
class Q32_API CqDisplayProperty {
public:
    /// Reads the screen's metrics, and builds the tables and the palette with gamma on at the
    /// neutral 180. Raises the memory exception.
    CqDisplayProperty();
    ~CqDisplayProperty();
    CqDisplayProperty(const CqDisplayProperty&) = delete;
    CqDisplayProperty& operator=(const CqDisplayProperty&) = delete;

    /// Reads the screen's metrics again, after a change of the display mode. Raises the memory
    /// exception, with everything as it was, also when the screen gives no device context.
    void fnUpdate();
    /// Reads the settings, or writes them with false. What isn't in the file stays as it is; a
    /// gamma value from the file is clamped to 1 to 799, and has no effect while gamma is off.
    /// False when the file's place is unknown, a write fails, or gamma can't be switched on.
    bool fnSerialize(bool bLoad);

    CSize fnGetDisplaySize() const { return {m_nDisplayWidth, m_nDisplayHeight}; }
    CSize fnGetDPI() const { return {m_nDpiX, m_nDpiY}; }
    /// Bits a pixel that drawing works in. A screen of 16 bits counts as one of 24.
    unsigned int fnGetColorDepth() const { return m_nColorDepth; }

    void fnEnableHiColorDither(bool bEnable) { m_bHiColorDither = bEnable; }
    bool fnIsHiColorDitherEnabled() const { return m_bHiColorDither; }
    /// Whether the screen really has 16 bits a pixel.
    bool fnIsHiColorDisplay() const { return m_bHiColorDisplay; }

    unsigned int fnGetGammaValue() const { return m_nGammaValue; }
    bool fnIsGammaEnabled() const { return m_bGammaEnabled; }
    /// Whether gamma is on and changes anything.
    bool fnIsGammaInEffect() const { return m_bGammaEnabled && m_nGammaValue != kNeutralGamma; }
    /// Sets the gamma and rebuilds curve and palette. 180 is neutral, more is brighter. While gamma
    /// is off the value is lost, deliberately. 0 is not refused: all but 255 becomes black.
    void fnSetGammaValue(unsigned int nValue);
    /// Switches gamma on or off. The palette keeps its gamma when it goes off, and is rebuilt
    /// without one when it goes on, until the next change of the value; both are deliberate.
    /// Out of memory, it shows the library's message, leaves gamma off and returns false.
    bool fnEnableGamma(bool bEnable);

    /// Puts pixels through the gamma curve, if it is in effect: with `nBits` 24 three bytes a
    /// pixel, else the first three of four.
    void fnGammaCorrect(unsigned char* pPixels, unsigned int nCount, unsigned int nBits) const;
    /// The same with all rows of a bitmap, its pixels lying behind header and colour table, rows
    /// `nPitch` bytes apart.
    void fnGammaCorrect(BITMAPINFOHEADER* pDib, unsigned long nPitch) const;

    /// The palette of 216 colours: red x 36 + green x 6 + blue, in steps of 51. Shared by all
    /// instances.
    CPalette* fnGetPalette666() const { return &m_Pal666; }
    /// Turns image pixels into indices of that palette. `nBits` 16: 5-6-5, high byte first; 32:
    /// alpha, red, green, blue; else red, green, blue. Black becomes index 43, and white 0, where
    /// the pattern's threshold is 0, deliberately.
    void fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst, unsigned int nBits, int nX,
                        int nY, int nCount) const;
    /// The same with a block. Source rows follow each other without a gap; `pDst` is the topmost
    /// row, and each further one lies `nPitch` bytes lower in memory.
    void fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst, unsigned long nPitch,
                        unsigned int nBits, int nX, int nY, int nWidth, int nHeight) const;

    /// Rounds pixels of three bytes to 5 bits a channel, in place, if this dither is on. `nBits`
    /// isn't read.
    void fnHiColorDither(unsigned char* pPixels, unsigned int nCount, unsigned int nBits, int nX,
                         int nY) const;
    /// The same with all rows of a bitmap, whatever its header says of the depth. (nX, nY) is the
    /// place of the row that is last in memory, the topmost on screen.
    void fnHiColorDither(BITMAPINFOHEADER* pDib, unsigned long nPitch, int nX, int nY) const;

protected:
    /// Size of an ordered-dither table. Any value but the first two means 8 by 8.
    enum DITHER_PATTERN : int { DITHER_2X2 = 0, DITHER_4X4 = 1, DITHER_8X8 = 2 };

    static constexpr unsigned int kNeutralGamma = 180;

    /// Fills a square ordered-dither table, row by row, with the numbers from 0 on.
    void fnBuildDitherTable(unsigned char* pTable, DITHER_PATTERN ePattern);
    /// Fills `m_pMappingTable`.
    void fnPrepareMappingTable();
    /// Fills `m_pGammaCurve` by the present value. The entries are results of std::pow, cut; a
    /// platform whose std::pow isn't exact to the last digits may differ by 1 in rare entries.
    void fnCalcGammaCurve();
    /// Writes the entries of `m_Pal666`, through the curve if gamma is on at this moment.
    void fnBuild666Palette();

    static CPalette m_Pal666; ///< made by the first constructor, kept until the program ends

    std::int32_t m_nDisplayWidth = 0; ///< pixels
    std::int32_t m_nDisplayHeight = 0;
    std::int32_t m_nDpiX = 0; ///< dots per inch
    std::int32_t m_nDpiY = 0;
    std::uint32_t m_nColorDepth = 0;
    bool m_bHiColorDisplay = false;
    bool m_bHiColorDither = true;
    unsigned char m_byHiColorPattern[16]; ///< 4 rows of 4, values 0 to 15
    bool m_bGammaEnabled = true;
    std::uint32_t m_nGammaValue = kNeutralGamma;
    std::unique_ptr<unsigned char[]> m_pGammaCurve; ///< 256 bytes, while gamma is on
    unsigned char m_byDitherPattern[64];            ///< 8 rows of 8, values 0 to 50
    /// Quotients by 51, then remainders, 256 bytes each, while `m_nColorDepth` is 8.
    std::unique_ptr<unsigned char[]> m_pMappingTable;
    // What the levels 0 to 5 of a component add to an index. The tables lie next to each other:
    // level 6 reads the first entry of the table behind, and behind the last one the spare byte, so
    // it adds nothing.
    unsigned char m_byStep36[6];
    unsigned char m_byStep6[6];
    unsigned char m_byStep1[6];
    unsigned char m_bySpare = 0;

private:
    bool fnReadSettings();
    bool fnWriteSettings() const;
};

/// The library's record of the screen; null when it could not be made.
extern "C" Q32_API CqDisplayProperty* q32GetDisplayProperty();
