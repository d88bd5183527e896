#include "platforms/headless/headless.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/contract/SoftwareModules.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <utility>

namespace {

namespace fs = std::filesystem;

using World = std::shared_ptr<CqHeadlessWorld>;

ContractPicture fnCopy(const CqHeadlessScreen& screen, const CRect& part) {
    ContractPicture picture{part.Width(), part.Height(), {}};
    for (int y = part.top; y < part.bottom; ++y)
        for (int x = part.left; x < part.right; ++x)
            picture.m_Pixels.push_back(screen.fnGetPixel(x, y));
    return picture;
}

class Window final : public ContractWindow {
public:
    explicit Window(World world) : m_pWorld(std::move(world)) {}
    CWnd& fnGetWnd() override { return m_Wnd; }
    ContractPicture fnGetPicture() override {
        return fnCopy(*m_pWorld->m_pScreen, m_Wnd.fnGetPlace());
    }
    void fnEnd() override { m_Wnd.fnDestroy(); }

private:
    World m_pWorld;
    CqHeadlessWnd m_Wnd{CRect(100, 50, 100 + kWidth, 50 + kHeight)};
};

class Boxes final : public ContractBoxes {
public:
    explicit Boxes(CqHeadlessMessages& messages) : m_Messages(messages) {
        m_Messages.m_OnBox = [this](const CqHeadlessBox& box) {
            const auto look = std::exchange(m_Look, nullptr);
            if (!look)
                return;
            const int answer = m_nAnswer;
            look({box.m_szText, box.m_Caption.value_or(""), fnGetButtons(box), box.fnGetIcon()});
            m_Messages.fnAnswer(answer);
        };
    }
    ~Boxes() override { m_Messages.m_OnBox = nullptr; }
    void fnAnswer(int button, std::function<void(const ContractBox&)> look) override {
        m_nAnswer = button;
        m_Look = std::move(look);
    }

private:
    /// The answers that the script of a box may give.
    static std::set<int> fnGetButtons(const CqHeadlessBox& box) {
        static const std::map<UINT, std::set<int>> kButtons = {
            {MB_OK, {IDOK}},
            {MB_OKCANCEL, {IDOK, IDCANCEL}},
            {MB_YESNO, {IDYES, IDNO}},
            {MB_YESNOCANCEL, {IDYES, IDNO, IDCANCEL}}};
        return kButtons.at(box.fnGetButtons());
    }

    CqHeadlessMessages& m_Messages;
    int m_nAnswer = 0;
    std::function<void(const ContractBox&)> m_Look;
};

class Keys final : public ContractKeys {
public:
    explicit Keys(CqHeadlessKeyboard& keyboard) : m_Keyboard(keyboard) {}
    void fnPress(int key) override {
        m_Keyboard.fnSetKey(key, true, true);
        m_Keyboard.fnPost(WM_KEYDOWN, static_cast<WPARAM>(key));
    }
    void fnRelease(int key) override {
        m_Keyboard.fnSetKey(key, false, false);
        m_Keyboard.fnPost(WM_KEYUP, static_cast<WPARAM>(key));
    }
    void fnClick(int number) override {
        m_Keyboard.fnPost(kButtonDown, static_cast<WPARAM>(number));
    }
    std::vector<int> fnGetClicks(std::size_t) override {
        std::vector<int> clicks;
        for (const CqKeyMessage& message : m_Keyboard.fnGetQueue())
            if (message.m_nMessage == kButtonDown)
                clicks.push_back(static_cast<int>(message.m_wParam));
        return clicks;
    }

private:
    static constexpr UINT kButtonDown = 0x201;
    CqHeadlessKeyboard& m_Keyboard;
};

class Host final : public ContractHost {
public:
    explicit Host(CqHeadlessWorld& world) : m_World(world) {}
    ~Host() override { Host::fnForget(); }
    void fnOpen() override {
        m_World.m_pWindows->fnSetApp(&m_App);
        m_World.m_pWindows->fnSetMainWnd(&m_Frame);
        m_Frame.fnSetMessageBar(&m_Bar);
    }
    CWinApp& fnGetApp() override { return m_App; }
    CWnd& fnGetFrame() override { return m_Frame; }
    CProgressCtrl& fnGetProgress() override { return m_Progress; }
    std::vector<int> fnGetProgressState() override {
        std::vector<int> state(3);
        for (const auto& message : m_Progress.fnGetMessages()) {
            if (message.m_nMessage == PBM_SETRANGE) {
                state[0] = static_cast<int>(message.m_lParam & 0xFFFF);
                state[1] = static_cast<int>(message.m_lParam >> 16 & 0xFFFF);
            } else if (message.m_nMessage == PBM_SETPOS) {
                state[2] = static_cast<int>(message.m_wParam);
            }
        }
        return state;
    }
    ContractPicture fnGetBarPicture() override {
        return fnCopy(*m_World.m_pScreen, m_Bar.fnGetPlace());
    }
    void fnEndWindow() override {
        m_Frame.fnDestroy();
        m_Bar.fnDestroy();
        m_Progress.fnDestroy();
    }
    void fnForget() override {
        m_World.m_pWindows->fnSetApp(nullptr);
        m_World.m_pWindows->fnSetMainWnd(nullptr);
    }

private:
    CqHeadlessWorld& m_World;
    CqHeadlessApp m_App;
    CqHeadlessWnd m_Frame{CRect(10, 10, 210, 110)};
    CqHeadlessStatusBar m_Bar{CRect(10, 90, 210, 110)};
    CqHeadlessProgressCtrl m_Progress{CRect(10, 30, 110, 40)};
};

class Dump final : public ContractDump {
public:
    explicit Dump(CqHeadlessWindows& windows) : m_Windows(windows) {}
    bool fnStands() override { return m_Windows.fnGetDumpView() != nullptr; }
    bool fnIsShown() override { return fnGet().fnIsShown(); }
    bool fnIsOnTop() override { return fnGet().fnIsOnTop(); }
    std::string fnGetCaption() override { return fnGet().fnGetCaption(); }
    std::vector<std::string> fnGetLines() override {
        std::vector<std::string> lines;
        std::string text = fnGet().fnGetText();
        for (std::size_t end; (end = text.find("\r\n")) != std::string::npos;) {
            lines.push_back(text.substr(0, end));
            text.erase(0, end + 2);
        }
        lines.push_back(text);
        return lines;
    }
    std::string fnGetStatus(const std::string& item) override {
        fnGet().fnHighlight(item.empty() ? 0 : fnFind(item));
        std::string status = fnGet().fnGetStatusText();
        fnGet().fnHighlight(0);
        return status;
    }
    std::vector<Item> fnGetMenu() override {
        std::vector<Item> items;
        for (const auto& item : fnGet().fnGetMenu())
            items.push_back({item.m_szText, item.m_bChecked});
        return items;
    }
    void fnChoose(const std::string& item) override { fnGet().fnChoose(fnFind(item)); }
    void fnClose() override { fnGet().fnClose(); }
    void fnAnswerSave(const std::optional<std::string>& path) override {
        m_Windows.m_pDump->fnAnswerSave(path);
    }

private:
    CqHeadlessDumpView& fnGet() { return *m_Windows.fnGetDumpView(); }
    UINT fnFind(const std::string& text) {
        for (const auto& item : fnGet().fnGetMenu())
            if (item.m_szText == text)
                return item.m_nId;
        ADD_FAILURE() << "no item " << text;
        return 0;
    }

    CqHeadlessWindows& m_Windows;
};

ContractWorld fnMakeWorld(const CqHeadlessOptions& options, std::shared_ptr<void> keep = nullptr) {
    const auto world = q32HeadlessWorld(options);
    world->m_pDisks->fnPutDirectory("C:\\Work");
    ContractWorld made;
    made.m_Platform = world->fnPlatform();
    made.m_szDirectory = "C:\\Work\\";
    made.m_pKeep = std::move(keep);
    made.m_MakeWindow = [world] { return std::make_unique<Window>(world); };
    made.m_SetLastError = [world](DWORD code) { world->m_pMessages->fnSetLastError(code); };
    made.m_pBoxes = std::make_shared<Boxes>(*world->m_pMessages);
    made.m_pKeys = std::make_shared<Keys>(*world->m_pKeyboard);
    made.m_pModules = std::make_shared<SoftwareModules>(world->m_pResources);
    made.m_pHost = std::make_shared<Host>(*world);
    made.m_pDump = std::make_shared<Dump>(*world->m_pWindows);
    return made;
}

ContractBackEnd fnInMemory(UINT codePage, int minutesEast, std::set<CONTRACT> contracts) {
    return {"CodePage" + std::to_string(codePage), std::move(contracts), [=] {
                CqHeadlessOptions options;
                options.m_nCodePage = codePage;
                options.m_nMinutesEast = minutesEast;
                return fnMakeWorld(options);
            }};
}

ContractBackEnd fnOnScreen(int bits) {
    return {"Bits" + std::to_string(bits),
            {CONTRACT::SCREEN, CONTRACT::REGIONS, CONTRACT::PALETTES},
            [=] {
                CqHeadlessOptions options;
                options.m_Mode.m_nBits = bits;
                return fnMakeWorld(options);
            }};
}

/// The same with files in a real folder, removed with the test.
ContractBackEnd fnInFolder() {
    return {"Folder", {CONTRACT::SCRATCH, CONTRACT::FILES}, [] {
                static std::random_device random;
                const fs::path folder =
                    fs::temp_directory_path() / ("q32contract" + std::to_string(random()));
                fs::create_directory(folder);
                CqHeadlessOptions options;
                options.m_Volumes[0].m_szFolder = folder.string();
                return fnMakeWorld(options, std::shared_ptr<void>(nullptr, [folder](void*) {
                                       std::error_code error;
                                       fs::remove_all(folder, error);
                                   }));
            }};
}

/// Sound whose clock the suite advances.
ContractBackEnd fnSounding() {
    return {"Sounding", {CONTRACT::WAVE_OUT, CONTRACT::MIXERS}, [] {
                const auto world = q32HeadlessWorld();
                world->m_pMixers->fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
                ContractWorld made;
                made.m_Platform = world->fnPlatform();
                made.m_Tick = [world] {
                    world->m_pWaveOut->fnAdvance(1000);
                    world->m_pWaveOut->fnWaitForReports();
                    world->m_pMixers->fnPump();
                };
                made.m_ChangeElsewhere = [world](bool up) {
                    const std::uint32_t value = up ? 50000 : 20000;
                    world->m_pMixers->fnMove(0, CQ_MIXER_CONTROL::VOLUME, {value, value});
                };
                return made;
            }};
}

ContractBackEnd fnWorking(const char* name, CQ_WORK_ORDER order) {
    return {name, {CONTRACT::WORK}, [order] {
                const auto world = q32HeadlessWorld();
                world->m_pWork->fnSetConcurrency(5);
                world->m_pWork->fnSetOrder(order);
                ContractWorld made;
                made.m_Platform = world->fnPlatform();
                return made;
            }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnInMemory(1252, -300,
                       {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
                        CONTRACT::BOXES, CONTRACT::ERRORS, CONTRACT::KEYBOARD, CONTRACT::RESOURCES,
                        CONTRACT::WINDOWS, CONTRACT::DUMP_VIEW}),
            fnInMemory(932, 540, {CONTRACT::LOCALE}),
            fnInMemory(65001, 0, {CONTRACT::LOCALE}),
            fnInFolder(),
            fnOnScreen(8),
            fnOnScreen(16),
            fnOnScreen(24),
            fnOnScreen(32),
            fnSounding(),
            fnWorking("Forward", CQ_WORK_ORDER::FORWARD),
            fnWorking("Reversed", CQ_WORK_ORDER::REVERSED),
            fnWorking("Scrambled", CQ_WORK_ORDER::SCRAMBLED)};
}

std::set<CONTRACT> fnGetOmittedContracts() {
    return {};
}
