#include "platforms/software/software.h"

#include "platforms/software/DibRows_p.h"
#include "platforms/software/PaletteEntries_p.h"
#include "q32Base/framework/Windows.h"

#include <algorithm>
#include <utility>

namespace {

using namespace q32::software;

constexpr int kScreenWidth = 1024;
constexpr int kScreenHeight = 768;
constexpr int kScreenBits = 32;
constexpr int kScreenDpi = 96;

class BlankContext final : public CDC {
public:
    explicit BlankContext(CWnd* window) : m_pWindow(window) {}

    CWnd* fnGetWindow() const { return m_pWindow; }
    void fnForgetPalette(const CPalette& palette) {
        if (m_pPalette == &palette)
            m_pPalette = nullptr;
    }

    int GetDeviceCaps(int index) const override {
        switch (index) {
        case HORZRES:
            return kScreenWidth;
        case VERTRES:
            return kScreenHeight;
        case BITSPIXEL:
            return kScreenBits;
        case LOGPIXELSX:
        case LOGPIXELSY:
            return kScreenDpi;
        default:
            return 0;
        }
    }
    CPalette* SelectPalette(CPalette* palette, bool) override {
        return std::exchange(m_pPalette, palette);
    }
    UINT RealizePalette() override { return 0; }

private:
    CWnd* m_pWindow;
    CPalette* m_pPalette = nullptr;
};

/// Locked, since each new image asks the screen for its resolution, in whatever thread it is made.
class Screen final : public CqScreenService {
public:
    CDC* fnGetDC(CWnd* window) override {
        if (window && !window->IsWindow())
            return nullptr;
        const std::lock_guard lock(m_Lock);
        m_DCs.push_back(std::make_unique<BlankContext>(window));
        return m_DCs.back().get();
    }

    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override {
        const std::lock_guard lock(m_Lock);
        std::erase_if(m_DCs, [&](const auto& open) {
            return open.get() == dc && open->fnGetWindow() == window;
        });
    }

    int fnSetDIBitsToDevice(CDC* dc, int x, int y, UINT width, UINT height, int sourceX,
                            int sourceY, UINT startScan, UINT scans, const void* bits,
                            const BITMAPINFOHEADER* header, UINT use) override {
        if (!dc)
            return 0;
        const RowJob job{x,         y,     width, height, sourceX, sourceY,
                         startScan, scans, bits,  header, use};
        DibRows rows;
        const std::lock_guard lock(m_Lock);
        const bool open = std::any_of(m_DCs.begin(), m_DCs.end(),
                                      [&](const auto& one) { return one.get() == dc; });
        if (!open || !bits || !header || !fnReadDibRows(*header, use, rows))
            return -1;
        return static_cast<int>(fnCountScans(job, rows));
    }

    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override {
        std::vector<PALETTEENTRY> entries = fnReadPaletteEntries(palette);
        return entries.empty() ? nullptr : std::make_unique<CqPaletteObject>(std::move(entries));
    }

    void fnPaletteGone(const CPalette& palette) noexcept override {
        const std::lock_guard lock(m_Lock);
        for (const auto& dc : m_DCs)
            dc->fnForgetPalette(palette);
    }

    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override {
        return std::make_unique<CqSoftwareRegion>(rect);
    }

private:
    std::mutex m_Lock;
    std::vector<std::unique_ptr<BlankContext>> m_DCs;
};

class Messages final : public CqMessageService {
public:
    int fnShowBox(const char*, UINT style, const char*) override {
        constexpr UINT kButtonMask = 0xF;
        const UINT buttons = style & kButtonMask;
        return buttons == MB_YESNO || buttons == MB_YESNOCANCEL ? IDYES : IDOK;
    }
    DWORD fnGetLastError() override { return 0; }
    bool fnFormatError(DWORD, std::string&) override { return false; }
};

class Keyboard final : public CqKeyboardService {
public:
    bool fnIsKeyDown(int) override { return false; }
    bool fnIsKeyDownNow(int) override { return false; }
    bool fnTakeKeyMessage(CqKeyMessage&) override { return false; }
};

class WaveOut final : public CqWaveOutService {
public:
    bool fnCanPlay(const WAVEFORMATEX&) override { return false; }
    std::unique_ptr<CqWaveOut> fnOpen(const WAVEFORMATEX&, Done) override { return nullptr; }
};

class Mixers final : public CqMixerService {
public:
    std::uint32_t fnGetCount() override { return 0; }
    std::unique_ptr<CqMixer> fnOpen(std::uint32_t, Changed) override { return nullptr; }
};

class Windows final : public CqWindowService {
public:
    CWinApp* fnGetApp() override { return nullptr; }
    CWnd* fnGetMainWnd() override { return nullptr; }
};

} // namespace

CqPlatform q32SoftwareServices(UINT codePage) {
    CqPlatform services;
    services.m_pScreen = std::make_shared<Screen>();
    services.m_pMessages = std::make_shared<Messages>();
    services.m_pKeyboard = std::make_shared<Keyboard>();
    services.m_pResources = std::make_shared<CqSoftwareResources>(codePage);
    services.m_pWaveOut = std::make_shared<WaveOut>();
    services.m_pMixers = std::make_shared<Mixers>();
    services.m_pWindows = std::make_shared<Windows>();
    return services;
}
