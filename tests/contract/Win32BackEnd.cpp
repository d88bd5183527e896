#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/CqWin32Mixers_p.h"
#include "platforms/win32/win32.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/contract/Win32Dump.h"
#include "tests/contract/Win32Input.h"
#include "tests/support/FakeMixer.h"
#include "tests/support/Win32Capture.h"
#include "tests/support/Win32Module.h"

#include <filesystem>
#include <random>
#include <utility>

namespace {

namespace fs = std::filesystem;

ContractPicture fnSee(HWND window) {
    RECT client;
    ::GetClientRect(window, &client);
    return {client.right, client.bottom, q32::test::fnCapture(window)};
}

class Window final : public ContractWindow {
public:
    ~Window() override { Window::fnEnd(); }
    CWnd& fnGetWnd() override { return m_Wnd; }
    ContractPicture fnGetPicture() override { return fnSee(m_Wnd.fnGetHandle()); }
    void fnEnd() override { ::DestroyWindow(m_Wnd.fnGetHandle()); }

private:
    CqWin32Wnd m_Wnd{q32::test::fnMakePlainWindow({100, 50, 100 + kWidth, 50 + kHeight})};
};

class Host final : public ContractHost {
public:
    explicit Host(std::shared_ptr<CqWin32Windows> windows) : m_pWindows(std::move(windows)) {
        const INITCOMMONCONTROLSEX kinds{sizeof kinds, ICC_BAR_CLASSES | ICC_PROGRESS_CLASS};
        ::InitCommonControlsEx(&kinds);
    }
    ~Host() override {
        Host::fnForget();
        Host::fnEndWindow();
    }
    void fnOpen() override {
        m_Frame = q32::test::fnMakePlainWindow({20, 20, 320, 220});
        const HWND bar = fnMakeChild(STATUSCLASSNAMEW, {0, 180, 300, 200});
        const HWND progress = fnMakeChild(PROGRESS_CLASSW, {10, 10, 110, 30});
        m_pFrame = std::make_unique<CqWin32Wnd>(m_Frame);
        m_pBar = std::make_unique<CqWin32Wnd>(bar);
        m_pProgress = std::make_unique<CqWin32ProgressCtrl>(progress);
        m_pFrame->fnSetMessageBar(m_pBar.get());
        m_pWindows->fnSetApp(&m_App);
        m_pWindows->fnSetMainWnd(m_pFrame.get());
    }
    CWinApp& fnGetApp() override { return m_App; }
    CWnd& fnGetFrame() override { return *m_pFrame; }
    CProgressCtrl& fnGetProgress() override { return *m_pProgress; }
    std::vector<int> fnGetProgressState() override {
        PBRANGE range{};
        const HWND progress = m_pProgress->fnGetHandle();
        ::SendMessageW(progress, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
        return {range.iLow, range.iHigh,
                static_cast<int>(::SendMessageW(progress, PBM_GETPOS, 0, 0))};
    }
    ContractPicture fnGetBarPicture() override { return fnSee(m_pBar->fnGetHandle()); }
    void fnEndWindow() override { ::DestroyWindow(std::exchange(m_Frame, nullptr)); }
    void fnForget() override {
        m_pWindows->fnSetApp(nullptr);
        m_pWindows->fnSetMainWnd(nullptr);
    }

private:
    HWND fnMakeChild(const wchar_t* kind, const RECT& place) {
        return ::CreateWindowExW(0, kind, L"", WS_CHILD | WS_VISIBLE | CCS_NORESIZE, place.left,
                                 place.top, place.right - place.left, place.bottom - place.top,
                                 m_Frame, nullptr, nullptr, nullptr);
    }

    std::shared_ptr<CqWin32Windows> m_pWindows;
    CqWin32App m_App{"contract"};
    HWND m_Frame = nullptr;
    std::unique_ptr<CqWin32Wnd> m_pFrame;
    std::unique_ptr<CqWin32Wnd> m_pBar;
    std::unique_ptr<CqWin32ProgressCtrl> m_pProgress;
};

/// Modules in memory, which the system searches.
class Modules final : public ContractModules {
public:
    explicit Modules(std::shared_ptr<CqWin32Resources> resources)
        : m_pResources(std::move(resources)) {}
    HINSTANCE fnAddModule() override {
        m_Modules.push_back(std::make_unique<q32::test::Win32Module>());
        m_pResources->fnAddModule(m_Modules.back()->fnGet());
        return m_Modules.back()->fnGet();
    }
    void fnRemoveModule(HINSTANCE module) override {
        EXPECT_TRUE(m_pResources->fnRemoveModule(module));
        std::erase_if(m_Modules, [&](const auto& each) { return each->fnGet() == module; });
    }
    void fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name,
               std::string_view bytes) override {
        fnGet(module).fnAdd(type, name, bytes);
    }
    void fnAddString(HINSTANCE module, UINT id, const std::string& text) override {
        fnGet(module).fnAddString(id, text);
    }

private:
    q32::test::Win32Module& fnGet(HINSTANCE module) {
        for (const auto& each : m_Modules)
            if (each->fnGet() == module)
                return *each;
        throw std::logic_error("no such module");
    }

    std::shared_ptr<CqWin32Resources> m_pResources;
    std::vector<std::unique_ptr<q32::test::Win32Module>> m_Modules;
};

/// The real system, in a new folder in the directory of temporary files, removed with the test.
ContractBackEnd fnInCodePage(const std::string& name, UINT codePage, std::set<CONTRACT> contracts) {
    return {name, std::move(contracts), [codePage] {
                static std::random_device random;
                const fs::path folder =
                    fs::temp_directory_path() / ("q32contract" + std::to_string(random()));
                fs::create_directory(folder);
                CqWin32Options options;
                options.m_nCodePage = codePage;
                options.m_nConcurrency = 4;
                options.m_szConfigDirectory = (folder / "config").string();
                const auto windows = q32Win32Windows();
                const auto resources = std::make_shared<CqWin32Resources>(
                    std::vector<HINSTANCE>(),
                    std::make_shared<const q32::win32::CodePage>(codePage));
                ContractWorld made;
                made.m_Platform = q32Win32Platform(windows, options);
                made.m_Platform.m_pResources = resources;
                made.m_szDirectory = folder.string() + '\\';
                made.m_MakeWindow = [] { return std::make_unique<Window>(); };
                made.m_SetLastError = [](DWORD code) { ::SetLastError(code); };
                made.m_pBoxes = fnMakeWin32Boxes();
                made.m_pKeys = fnMakeWin32Keys();
                made.m_pModules = std::make_shared<Modules>(resources);
                made.m_pHost = std::make_shared<Host>(windows);
                made.m_pDump = fnMakeWin32Dump();
                made.m_pKeep = std::shared_ptr<void>(nullptr, [folder](void*) {
                    std::error_code ignored;
                    fs::remove_all(folder, ignored);
                });
                return made;
            }};
}

/// Handles messages, and lets a little time pass.
void fnPump() {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
        ::DispatchMessageW(&message);
    ::Sleep(5);
}

/// The system's sound output.
ContractBackEnd fnSounding() {
    return {"Sounding", {CONTRACT::WAVE_OUT}, [] {
                ContractWorld made;
                made.m_Platform = q32Win32Platform(q32Win32Windows());
                made.m_Tick = fnPump;
                return made;
            }};
}

/// The system's mixers on a device in memory.
ContractBackEnd fnMixing(bool sends) {
    return {sends ? "SendingMixer" : "SilentMixer", {CONTRACT::MIXERS}, [sends] {
                const auto device = std::make_shared<q32::test::FakeMixer>();
                device->m_bSends = sends;
                ContractWorld made;
                made.m_Platform.m_pMixers = std::make_shared<CqWin32Mixers>(
                    std::make_shared<q32::win32::Failures>(), device->fnGetCalls());
                made.m_Tick = fnPump;
                made.m_ChangeElsewhere = [device](bool up) {
                    device->fnMoveVolume(up ? 50000 : 20000);
                };
                return made;
            }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnInCodePage("System", CP_ACP,
                         {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
                          CONTRACT::SCREEN, CONTRACT::REGIONS, CONTRACT::PALETTES, CONTRACT::BOXES,
                          CONTRACT::ERRORS, CONTRACT::KEYBOARD, CONTRACT::RESOURCES,
                          CONTRACT::WINDOWS, CONTRACT::DUMP_VIEW, CONTRACT::WORK}),
            fnInCodePage("CodePage932", 932, {CONTRACT::FILES, CONTRACT::LOCALE}),
            fnInCodePage("Utf8", CP_UTF8, {CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE}),
            fnSounding(),
            fnMixing(true),
            fnMixing(false)};
}

std::set<CONTRACT> fnGetOmittedContracts() {
    return {};
}
