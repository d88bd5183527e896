#include "q32Base/display/CqDisplayProperty.h"

#include "q32Base/display/CqDisplayProperty_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/DibLayout_p.h"
#include "q32Base/kernels/Kernels_p.h"
#include "q32Base/messages/ReportMemory.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/settings/Settings_p.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

CqDisplayProperty* theDisplay = nullptr; ///< in force

constexpr unsigned int kColors666 = 216;
constexpr unsigned int kLevelStep = 51; ///< between the six levels of a component
constexpr std::size_t kCurveBytes = 256;
constexpr int kMinStoredGamma = 1;
constexpr int kMaxStoredGamma = 799;

/// Creates a palette of 216 entries, whatever their colours. False when the screen refuses.
bool fnMakePalette666(CPalette& palette) {
    constexpr std::size_t kBytes = sizeof(LOGPALETTE) + (kColors666 - 1) * sizeof(PALETTEENTRY);
    alignas(LOGPALETTE) unsigned char block[kBytes] = {};
    auto* description = reinterpret_cast<LOGPALETTE*>(block);
    description->palVersion = 0x300;
    description->palNumEntries = kColors666;
    return palette.CreatePalette(description);
}

std::size_t fnLength(int count) {
    return static_cast<std::size_t>(std::max(count, 0));
}

/// The next row of a repeating pattern; the number may wrap.
int fnNextRow(int y) {
    return static_cast<int>(static_cast<unsigned int>(y) + 1u);
}

} // namespace

CPalette CqDisplayProperty::m_Pal666;

CqDisplayProperty::CqDisplayProperty() {
    fnUpdate();
    fnBuildDitherTable(m_byHiColorPattern, DITHER_4X4);
    fnBuildDitherTable(m_byDitherPattern, DITHER_8X8);
    for (unsigned char& threshold : m_byDitherPattern)
        threshold = static_cast<unsigned char>((threshold * kLevelStep) >> 6);
    for (unsigned int i = 0; i < 6; ++i) {
        m_byStep36[i] = static_cast<unsigned char>(36 * i);
        m_byStep6[i] = static_cast<unsigned char>(6 * i);
        m_byStep1[i] = static_cast<unsigned char>(i);
    }
    m_pGammaCurve.reset(q32::fnNewArray<unsigned char>(kCurveBytes));
    fnCalcGammaCurve();
    if (!m_Pal666.HasHandle() && !fnMakePalette666(m_Pal666))
        AfxThrowMemoryException();
    fnBuild666Palette();
}

CqDisplayProperty::~CqDisplayProperty() = default;

void CqDisplayProperty::fnUpdate() {
    q32::fnGuardMemory([this] {
        CqScreenService& screen = *q32::fnPlatform().m_pScreen;
        CDC* dc = screen.fnGetDC(nullptr);
        if (!dc)
            AfxThrowMemoryException();
        const int width = dc->GetDeviceCaps(HORZRES);
        const int height = dc->GetDeviceCaps(VERTRES);
        const int dpiX = dc->GetDeviceCaps(LOGPIXELSX);
        const int dpiY = dc->GetDeviceCaps(LOGPIXELSY);
        const auto bits = static_cast<std::uint32_t>(dc->GetDeviceCaps(BITSPIXEL));
        screen.fnReleaseDC(nullptr, dc);

        const std::uint32_t depth = bits == 16 ? 24 : bits;
        // The only step that can fail comes before any change.
        std::unique_ptr<unsigned char[]> mapping;
        if (depth != m_nColorDepth && depth == 8)
            mapping.reset(q32::fnNewArray<unsigned char>(2 * kCurveBytes));

        m_nDisplayWidth = width;
        m_nDisplayHeight = height;
        m_nDpiX = dpiX;
        m_nDpiY = dpiY;
        m_bHiColorDisplay = bits == 16;
        if (depth == m_nColorDepth)
            return;
        m_nColorDepth = depth;
        m_pMappingTable = std::move(mapping);
        if (m_pMappingTable)
            fnPrepareMappingTable();
    });
}

bool CqDisplayProperty::fnSerialize(bool bLoad) {
    CString path;
    if (!q32::fnTryMemory([&] { return q32::GetSettingsPath(path); }))
        return false;
    return bLoad ? fnReadSettings() : fnWriteSettings();
}

bool CqDisplayProperty::fnReadSettings() {
    const auto read = [](UINT key) {
        return q32::fnReadSettingNumber(q32::STRING_SECTION_DISP_PROP, key,
                                        q32::kShortSettingBytes);
    };
    if (const std::optional<int> dither = read(q32::STRING_KEY_DITHER_HC))
        m_bHiColorDither = *dither != 0;
    if (const std::optional<int> flag = read(q32::STRING_KEY_GAMMA_FLAG)) {
        if (!fnEnableGamma(*flag != 0))
            return false;
    }
    if (const std::optional<int> value = read(q32::STRING_KEY_GAMMA_VAL))
        fnSetGammaValue(
            static_cast<unsigned int>(std::clamp(*value, kMinStoredGamma, kMaxStoredGamma)));
    return true;
}

bool CqDisplayProperty::fnWriteSettings() const {
    const auto write = [](UINT key, int value) {
        return q32::fnWriteSetting(q32::STRING_SECTION_DISP_PROP, key, value);
    };
    return write(q32::STRING_KEY_DITHER_HC, m_bHiColorDither) &&
           write(q32::STRING_KEY_GAMMA_FLAG, m_bGammaEnabled || m_bGammaOwed) &&
           write(q32::STRING_KEY_GAMMA_VAL, static_cast<int>(m_nGammaValue));
}

void CqDisplayProperty::fnBuildDitherTable(unsigned char* pTable, DITHER_PATTERN ePattern) {
    // A recursive ordered dither: each base-4 digit of k selects one of the four positions of a 2
    // by 2 square, in this order, the highest digit on the finest grid and each lower one on a grid
    // twice as coarse.
    static constexpr unsigned int kX[4] = {0, 1, 0, 1};
    static constexpr unsigned int kY[4] = {0, 1, 1, 0};
    const unsigned int digits = ePattern == DITHER_2X2 ? 1 : ePattern == DITHER_4X4 ? 2 : 3;
    const unsigned int side = 1u << digits;
    for (unsigned int k = 0; k < side * side; ++k) {
        unsigned int x = 0;
        unsigned int y = 0;
        for (unsigned int i = 0; i < digits; ++i) {
            const unsigned int digit = (k >> (2 * (digits - 1 - i))) & 3;
            x += kX[digit] << i;
            y += kY[digit] << i;
        }
        pTable[x + side * y] = static_cast<unsigned char>(k);
    }
}

void CqDisplayProperty::fnPrepareMappingTable() {
    for (unsigned int v = 0; v < kCurveBytes; ++v) {
        m_pMappingTable[v] = static_cast<unsigned char>(v / kLevelStep);
        m_pMappingTable[kCurveBytes + v] = static_cast<unsigned char>(v % kLevelStep);
    }
}

void CqDisplayProperty::fnCalcGammaCurve() {
    const double exponent = static_cast<double>(kNeutralGamma) / m_nGammaValue;
    for (unsigned int i = 0; i < kCurveBytes; ++i) {
        const double value = std::pow(i * 0.00392156862745098, exponent) * 255.0;
        m_pGammaCurve[i] = static_cast<unsigned char>(m_nGammaValue == kNeutralGamma ? i : value);
    }
}

void CqDisplayProperty::fnBuild666Palette() {
    const auto level = [this](unsigned int step) {
        const unsigned int value = step * kLevelStep;
        return m_bGammaEnabled ? m_pGammaCurve[value] : static_cast<unsigned char>(value);
    };
    for (unsigned int i = 0; i < kColors666; ++i) {
        const PALETTEENTRY entry = {level(i / 36), level(i / 6 % 6), level(i % 6), 0};
        m_Pal666.SetPaletteEntries(i, 1, &entry);
    }
}

void CqDisplayProperty::fnSetGammaValue(unsigned int nValue) {
    if (!m_bGammaEnabled || nValue == m_nGammaValue)
        return;
    m_nGammaValue = nValue;
    fnCalcGammaCurve();
    fnBuild666Palette();
}

bool CqDisplayProperty::fnEnableGamma(bool bEnable) {
    m_bGammaOwed = false; // the caller decides
    if (bEnable == m_bGammaEnabled)
        return true;
    if (!bEnable) {
        m_pGammaCurve.reset();
        m_bGammaEnabled = false;
        return true;
    }
    return q32::fnReportMemory([this] { fnSwitchGammaOn(); });
}

/// Raises the memory exception, with gamma still off.
void CqDisplayProperty::fnSwitchGammaOn() {
    m_pGammaCurve.reset(q32::fnNewArray<unsigned char>(kCurveBytes));
    fnCalcGammaCurve();
    fnBuild666Palette(); // with gamma still off, deliberately
    m_bGammaEnabled = true;
}

void CqDisplayProperty::fnGammaCorrect(unsigned char* pPixels, unsigned int nCount,
                                       unsigned int nBits) const {
    if (!fnIsGammaInEffect())
        return;
    const q32::Kernels& kernels = q32::fnKernels();
    (nBits == 24 ? kernels.fnCurve24 : kernels.fnCurve32)(pPixels, nCount, m_pGammaCurve.get());
}

void CqDisplayProperty::fnGammaCorrect(BITMAPINFOHEADER* pDib, unsigned long nPitch) const {
    if (!fnIsGammaInEffect())
        return;
    const auto pitch = static_cast<std::uint32_t>(nPitch);
    unsigned char* row = q32::fnDibPixels(pDib);
    for (LONG y = 0; y < pDib->biHeight; ++y, row += pitch)
        fnGammaCorrect(row, static_cast<unsigned int>(pDib->biWidth), pDib->biBitCount);
}

void CqDisplayProperty::fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst, unsigned int nBits,
                                       int nX, int nY, int nCount) const {
    const q32::Kernels& kernels = q32::fnKernels();
    const q32::DitherRun dither = nBits == 16   ? kernels.fnDither16
                                  : nBits == 32 ? kernels.fnDither32
                                                : kernels.fnDither24;
    dither(pSrc, pDst, fnLength(nCount), m_byDitherPattern, nX, nY);
}

void CqDisplayProperty::fnDitherRGB666(unsigned char* pSrc, unsigned char* pDst,
                                       unsigned long nPitch, unsigned int nBits, int nX, int nY,
                                       int nWidth, int nHeight) const {
    const auto pitch = static_cast<std::uint32_t>(nPitch);
    const std::size_t pixelBytes = nBits == 16 ? 2 : nBits == 32 ? 4 : 3;
    for (int row = 0; row < nHeight; ++row, nY = fnNextRow(nY)) {
        fnDitherRGB666(pSrc, pDst, nBits, nX, nY, nWidth);
        pSrc += fnLength(nWidth) * pixelBytes;
        pDst -= pitch;
    }
}

void CqDisplayProperty::fnHiColorDither(unsigned char* pPixels, unsigned int nCount, unsigned int,
                                        int nX, int nY) const {
    if (m_bHiColorDither)
        q32::fnKernels().fnHiColorDither(pPixels, nCount, m_byHiColorPattern, nX, nY);
}

void CqDisplayProperty::fnHiColorDither(BITMAPINFOHEADER* pDib, unsigned long nPitch, int nX,
                                        int nY) const {
    if (!m_bHiColorDither)
        return;
    const auto pitch = static_cast<std::uint32_t>(nPitch);
    unsigned char* pixels = q32::fnDibPixels(pDib);
    for (LONG row = pDib->biHeight; row-- > 0; nY = fnNextRow(nY))
        fnHiColorDither(pixels + static_cast<std::size_t>(pitch) * static_cast<std::size_t>(row),
                        static_cast<unsigned int>(pDib->biWidth), pDib->biBitCount, nX, nY);
}

CqDisplayProperty* q32GetDisplayProperty() {
    return theDisplay;
}

void q32::fnSetDisplayProperty(CqDisplayProperty* display) {
    theDisplay = display;
}
