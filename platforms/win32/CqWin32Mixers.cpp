#include "platforms/win32/CqWin32Mixers_p.h"
#include "platforms/win32/MixerControls_p.h"
#include "platforms/win32/WindowClass_p.h"
#include "q32Base/framework/Memory.h"

#include <utility>

using namespace q32::win32;

namespace {

constexpr UINT kLookInterval = 200; ///< ms

/// An open mixer with the hidden window that receives its messages.
class Mixer final : public CqMixer {
public:
    Mixer(const MixerCalls& calls, CqMixerService::Changed changed,
          std::shared_ptr<Failures> failures)
        : m_Calls(calls), m_Changed(std::move(changed)), m_pFailures(std::move(failures)) {}
    ~Mixer() override {
        if (m_Window)
            ::SetWindowLongPtrW(m_Window, GWLP_USERDATA, 0); // nothing is reported any more
        if (m_Mixer)
            m_Calls.m_Close(m_Mixer);
        if (!m_Window)
            return;
        ::DestroyWindow(m_Window);
        fnGetClass().fnLeave();
    }
    Mixer(const Mixer&) = delete;
    Mixer& operator=(const Mixer&) = delete;

    bool fnOpen(std::uint32_t index);

    bool fnFindSpeakerLine(CqMixerLine& line) override {
        return m_pControls->fnFindSpeakerLine(line);
    }
    bool fnFindControl(std::uint32_t lineId, CQ_MIXER_CONTROL type, std::uint32_t& id) override {
        return m_pControls->fnFind(lineId, type, id);
    }
    bool fnGetValues(std::uint32_t control, std::uint32_t channels,
                     std::vector<std::uint32_t>& values) override {
        return m_pControls->fnGet(control, channels, values);
    }
    bool fnSetValues(std::uint32_t control, std::uint32_t channels,
                     const std::vector<std::uint32_t>& values) override {
        return m_pControls->fnSet(control, channels, values);
    }

private:
    static WindowClass& fnGetClass();
    static LRESULT CALLBACK fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    MixerCalls m_Calls;
    CqMixerService::Changed m_Changed;
    std::shared_ptr<Failures> m_pFailures;
    HWND m_Window = nullptr;
    HMIXER m_Mixer = nullptr;
    std::unique_ptr<MixerControls> m_pControls;
};

bool Mixer::fnOpen(std::uint32_t index) {
    m_Window = fnGetClass().fnCreate(0, L"", 0, RECT{}, HWND_MESSAGE);
    if (!m_Window || m_Calls.m_Open(&m_Mixer, index, reinterpret_cast<DWORD_PTR>(m_Window), 0,
                                    CALLBACK_WINDOW | MIXER_OBJECTF_MIXER) != MMSYSERR_NOERROR)
        return false;
    m_pControls = std::make_unique<MixerControls>(m_Calls, m_Mixer);
    ::SetWindowLongPtrW(m_Window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    return ::SetTimer(m_Window, 1, kLookInterval, nullptr) != 0;
}

WindowClass& Mixer::fnGetClass() {
    static constinit WindowClass mixerClass(L"q32Mixer", fnHandle);
    return mixerClass;
}

LRESULT CALLBACK Mixer::fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* mixer = reinterpret_cast<Mixer*>( // NOLINT(performance-no-int-to-ptr)
        ::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!mixer || (message != WM_TIMER && message != MM_MIXM_CONTROL_CHANGE))
        return ::DefWindowProcW(window, message, wParam, lParam);
    const std::shared_ptr<Failures> failures = mixer->m_pFailures; // a report may destroy the mixer
    CqMixerService::Changed changed;
    MixerControls::Values controls;
    q32::fnTryMemory([&] { // what is missed now, the next look finds
        changed = mixer->m_Changed;
        controls = message == WM_TIMER ? mixer->m_pControls->fnTakeChanges()
                                       : mixer->m_pControls->fnTakeChange(
                                             MixerControls::fnToId(static_cast<DWORD>(lParam)));
    });
    for (const std::uint32_t control : controls)
        if (changed && ::IsWindow(window))
            failures->fnGuard([&] { changed(control); });
    return 0;
}

} // namespace

std::unique_ptr<CqMixer> CqWin32Mixers::fnOpen(std::uint32_t index, Changed changed) {
    if (index >= fnGetCount())
        return nullptr;
    auto mixer = std::make_unique<Mixer>(m_Calls, std::move(changed), m_pFailures);
    return mixer->fnOpen(index) ? std::move(mixer) : nullptr;
}
