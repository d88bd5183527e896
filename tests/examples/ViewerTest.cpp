/// @file The viewer, operated as its user does.

#include "examples/viewer/Commands.h"
#include "platforms/win32/win32.h"
#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/module/Module.h"
#include "q32Base/sound/CqWave.h"
#include "tests/support/Await.h"
#include "tests/support/Win32Capture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Corners of the colour cube, which every screen has, in cells of 16 x 16 pixels.
CqColor fnGetColor(unsigned int x, unsigned int y) {
    const unsigned int cell = x / 16 * 7 + y / 16 * 3;
    const auto part = [cell](int bit) {
        return static_cast<unsigned char>((cell >> bit) % 2 == 0 ? 0 : 255);
    };
    return CqColor(part(0), part(1), part(2));
}

/// A running viewer.
class Viewer {
public:
    explicit Viewer(const std::wstring& arguments) {
        const char* other = std::getenv("Q32_TEST_VIEWER"); // such as an installed one
        const std::string program = std::string("Z:") + (other ? other : Q32_VIEWER);
        std::wstring line =
            L"\"" + std::wstring(program.begin(), program.end()) + L"\" " + arguments;
        STARTUPINFOW start{};
        start.cb = sizeof start;
        EXPECT_TRUE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                     nullptr, &start, &m_Process));
        EXPECT_TRUE(fnAwait([&] { return fnFind(); })) << "it opens its window";
    }
    ~Viewer() {
        ::TerminateProcess(m_Process.hProcess, 1);
        ::CloseHandle(m_Process.hProcess);
        ::CloseHandle(m_Process.hThread);
    }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    HWND fnGetFrame() const { return m_Frame; }
    HWND fnGetView() const { return m_View; }
    std::string fnGetState() const {
        wchar_t text[256] = {};
        ::SendMessageW(m_Bar, WM_GETTEXT, 256, reinterpret_cast<LPARAM>(text));
        const std::wstring state = text;
        return {state.begin(), state.end()};
    }
    bool fnAwaitState(const std::string& end) const {
        return fnAwait([&] { return fnGetState().ends_with(end); });
    }
    void fnCommand(UINT command) const { ::SendMessageW(m_Frame, WM_COMMAND, command, 0); }
    /// What the screen shows in the view. Another process's window can only be seen there, and is a
    /// little later than its messages.
    std::vector<std::uint32_t> fnSee() const {
        RECT client;
        POINT corner{};
        ::GetClientRect(m_View, &client);
        ::ClientToScreen(m_View, &corner);
        const HDC screen = ::GetDC(nullptr);
        ::SetViewportOrgEx(screen, corner.x, corner.y, nullptr);
        std::vector<std::uint32_t> seen = q32::test::fnCapture(screen, client.right, client.bottom);
        ::ReleaseDC(nullptr, screen);
        return seen;
    }
    bool fnAwaitColor(LONG x, LONG y, std::uint32_t color, std::uint32_t mask) const {
        RECT client;
        ::GetClientRect(m_View, &client);
        return fnAwait([&] {
            return ((fnSee()[static_cast<std::size_t>(y * client.right + x)] ^ color) & mask) == 0;
        });
    }
    DWORD fnClose() const {
        DWORD code = 99;
        ::PostMessageW(m_Frame, WM_CLOSE, 0, 0);
        ::WaitForSingleObject(m_Process.hProcess, 20000);
        ::GetExitCodeProcess(m_Process.hProcess, &code);
        return code;
    }

private:
    bool fnFind() {
        m_Frame = ::FindWindowW(L"" WINDOW_CLASS, nullptr);
        m_View = ::FindWindowExW(m_Frame, nullptr, L"q32View", nullptr);
        m_Bar = ::FindWindowExW(m_Frame, nullptr, STATUSCLASSNAMEW, nullptr);
        return m_Frame && m_View && m_Bar;
    }

    PROCESS_INFORMATION m_Process{};
    HWND m_Frame = nullptr;
    HWND m_View = nullptr;
    HWND m_Bar = nullptr;
};

class ViewerTest : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(m_Folder);
        ASSERT_TRUE(q32Attach(q32Win32Platform(q32Win32Windows())));
        fnWritePicture("small.png", 200, 100);
        fnWritePicture("large.bmp", 3000, 2000);
        CqWave wave(1, 16, 22050, 88200, true);
        EXPECT_TRUE(q32WriteWave(fnGetName("sound.wav").c_str(), wave).fnIsDone());
    }
    void TearDown() override {
        q32Detach();
        q32SetMessageService(nullptr);
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }
    std::string fnGetName(const char* name) const { return (m_Folder / name).string(); }
    std::wstring fnGetArgument(const char* name) const {
        return L"\"" + (m_Folder / name).wstring() + L"\"";
    }
    void fnWritePicture(const char* name, unsigned int width, unsigned int height) const {
        CqImage image(width, height, 24);
        CqImageLine line;
        for (unsigned int y = 0; y < height; ++y) {
            image.fnAccessLine(static_cast<int>(y), &line, false);
            for (unsigned int x = 0; x < width; ++x)
                line.fnSetPixelColor(static_cast<int>(x), fnGetColor(x, y));
            line.fnUnAssociate();
        }
        EXPECT_TRUE(q32WritePicture(fnGetName(name).c_str(), image).fnIsDone()) << name;
    }

    const fs::path m_Folder =
        fs::temp_directory_path() / ("q32viewer" + std::to_string(std::random_device()()));
};

std::uint32_t fnToNumber(const CqColor& color) {
    return std::uint32_t{color.m_Red} << 16 | std::uint32_t{color.m_Green} << 8 | color.m_Blue;
}

int fnGetScreenBits() {
    const HDC screen = ::GetDC(nullptr);
    const int bits = ::GetDeviceCaps(screen, BITSPIXEL);
    ::ReleaseDC(nullptr, screen);
    return bits;
}

/// The bits of a colour that the screen shows as they are.
std::uint32_t fnGetExactBits() {
    const int bits = fnGetScreenBits();
    if (bits == 8)
        return 0x808080;                     // of the static colours, the nearest one
    return bits == 16 ? 0xE0E0E0 : 0xFFFFFF; // the dither to 5 bits changes the lower ones
}

TEST_F(ViewerTest, ItShowsAPictureAndZooms) {
    const Viewer viewer(fnGetArgument("small.png"));
    ASSERT_TRUE(viewer.fnAwaitState("200 x 100, 24 bits, 1:1")) << viewer.fnGetState();
    const std::uint32_t exact = fnGetExactBits();
    EXPECT_TRUE(viewer.fnAwaitColor(20, 33, fnToNumber(fnGetColor(20, 33)), exact));
    EXPECT_TRUE(viewer.fnAwaitColor(165, 85, fnToNumber(fnGetColor(165, 85)), exact));
    EXPECT_TRUE(viewer.fnAwaitColor(220, 30, ::GetSysColor(COLOR_APPWORKSPACE), exact))
        << "outside of the picture";
    viewer.fnCommand(COMMAND_ZOOM_IN);
    EXPECT_TRUE(viewer.fnGetState().ends_with("2:1"));
    viewer.fnCommand(COMMAND_FIT);
    viewer.fnCommand(COMMAND_ZOOM_OUT);
    EXPECT_TRUE(viewer.fnGetState().ends_with("1:2"));
    if (fnGetScreenBits() != 8) { // there, Wine shows only the first picture in its colours
        EXPECT_TRUE(viewer.fnAwaitColor(20, 20, fnToNumber(fnGetColor(40, 40)), exact));
    }
    EXPECT_EQ(viewer.fnClose(), 0u);
}

TEST_F(ViewerTest, ItRotatesAndStopsByEscape) {
    const Viewer viewer(fnGetArgument("large.bmp"));
    ASSERT_TRUE(
        fnAwait([&] { return viewer.fnGetState().starts_with("large.bmp   3000 x 2000"); }));
    viewer.fnCommand(COMMAND_ACTUAL);
    ASSERT_TRUE(viewer.fnAwaitState("3000 x 2000, 24 bits, 1:1")) << viewer.fnGetState();
    ::PostMessageW(viewer.fnGetFrame(), WM_COMMAND, COMMAND_ROTATE, 0);
    ::PostMessageW(viewer.fnGetView(), WM_KEYDOWN, VK_ESCAPE, 0);
    ::PostMessageW(viewer.fnGetFrame(), WM_COMMAND, COMMAND_ZOOM_IN, 0);
    EXPECT_TRUE(viewer.fnAwaitState("3000 x 2000, 24 bits, 2:1")) << viewer.fnGetState();
    viewer.fnCommand(COMMAND_ROTATE);
    EXPECT_FALSE(viewer.fnGetState().ends_with("3000 x 2000, 24 bits, 2:1"));
    EXPECT_TRUE(viewer.fnGetState().ends_with("2:1"));
    EXPECT_EQ(viewer.fnClose(), 0u);
}

TEST_F(ViewerTest, ItPlaysASoundAndStopsIt) {
    const Viewer viewer(fnGetArgument("sound.wav"));
    ASSERT_TRUE(viewer.fnAwaitState("sound.wav   playing")) << viewer.fnGetState();
    viewer.fnCommand(COMMAND_STOP);
    EXPECT_EQ(viewer.fnGetState(), "sound.wav   stopped");
    viewer.fnCommand(COMMAND_PLAY);
    EXPECT_EQ(viewer.fnGetState(), "sound.wav   playing");
    EXPECT_EQ(viewer.fnClose(), 0u);
}

} // namespace
