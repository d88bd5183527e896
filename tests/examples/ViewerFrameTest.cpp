/// @file The viewer's window within the test's own process, where its keyboard can be scripted.

#include "examples/viewer/Commands.h"
#include "examples/viewer/Frame.h"
#include "platforms/win32/win32.h"
#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/module/Module.h"
#include "q32Base/platform/CqKeyboardService.h"
#include "q32Base/sound/CqWave.h"
#include "tests/support/Await.h"
#include "tests/support/FailingAllocator.h"
#include "tests/support/Win32Capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <shellapi.h>
#include <shlobj.h>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Each question for a key looks first; Esc is down once `m_bEscape` is set.
class Keyboard final : public CqKeyboardService {
public:
    bool fnIsKeyDown(int key) override { return fnIsKeyDownNow(key); }
    bool fnIsKeyDownNow(int key) override {
        m_Look();
        return m_bEscape && key == VK_ESCAPE;
    }
    bool fnTakeKeyMessage(CqKeyMessage&) override {
        m_Look();
        return false;
    }

    std::function<void()> m_Look = [] {};
    bool m_bEscape = false;
};

/// Counts boxes in place of showing them.
class Boxes final : public CqMessageService {
public:
    int fnShowBox(const char*, UINT, const char*) override {
        ++m_nShown;
        return IDOK;
    }
    DWORD fnGetLastError() override { return 0; }
    bool fnFormatError(DWORD, std::string&) override { return false; }

    int m_nShown = 0;
};

class ViewerFrame : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(m_Folder);
        const auto windows = q32Win32Windows();
        CqWin32Options options;
        options.m_nCodePage = CP_UTF8;
        CqPlatform platform = q32Win32Platform(windows, options);
        platform.m_pKeyboard = m_pKeyboard;
        platform.m_pMessages = m_pBoxes;
        ASSERT_TRUE(q32Attach(platform));
        m_pFrame = std::make_unique<Frame>(*windows);
        ASSERT_NE(m_pFrame->fnGetHandle(), nullptr);
        ::ShowWindow(m_pFrame->fnGetHandle(), SW_SHOW);
        ::UpdateWindow(m_pFrame->fnGetHandle());
        m_Bar = ::FindWindowExW(m_pFrame->fnGetHandle(), nullptr, STATUSCLASSNAMEW, nullptr);
        m_View = ::FindWindowExW(m_pFrame->fnGetHandle(), nullptr, L"q32View", nullptr);
        ASSERT_TRUE(m_Bar && m_View);
    }
    void TearDown() override {
        m_pFrame.reset();
        q32Detach();
        q32SetMessageService(nullptr);
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
    }
    std::string fnWritePicture(const char* name, unsigned int width, unsigned int height) const {
        CqImage image(width, height, 24u);
        CqImageLine line;
        for (unsigned int y = 0; y < height; ++y) {
            image.fnAccessLine(y, &line, false);
            for (unsigned int x = 0; x < width; ++x)
                line.fnSetPixelColor(static_cast<int>(x),
                                     CqColor(x < width / 2 ? 255 : 0, y < height / 2 ? 255 : 0, 0));
            line.fnUnAssociate();
        }
        std::string path = (m_Folder / name).string();
        EXPECT_TRUE(q32WritePicture(path.c_str(), image).fnIsDone()) << name;
        return path;
    }
    std::string fnWriteSound(const char* name, unsigned long frames) const {
        CqWave wave(1, 16, 22050, frames, true);
        std::string path = (m_Folder / name).string();
        EXPECT_TRUE(q32WriteWave(path.c_str(), wave).fnIsDone()) << name;
        return path;
    }
    static void fnPump() {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageW(&message);
    }
    std::string fnGetState() const {
        wchar_t text[256] = {};
        ::SendMessageW(m_Bar, WM_GETTEXT, 256, reinterpret_cast<LPARAM>(text));
        const std::wstring state = text;
        return {state.begin(), state.end()};
    }
    void fnCommand(UINT command) const {
        ::SendMessageW(m_pFrame->fnGetHandle(), WM_COMMAND, command, 0);
    }
    /// Drops a file as the system's shell does.
    void fnDrop(const std::string& path) const {
        const std::wstring wide(path.begin(), path.end());
        const std::size_t bytes = (wide.size() + 2) * sizeof(wchar_t); // a list, ended by a NUL
        const HGLOBAL block = ::GlobalAlloc(GHND, sizeof(DROPFILES) + bytes);
        auto* const drop = static_cast<DROPFILES*>(::GlobalLock(block));
        drop->pFiles = sizeof(DROPFILES);
        drop->fWide = TRUE;
        std::memcpy(drop + 1, wide.c_str(), wide.size() * sizeof(wchar_t));
        ::GlobalUnlock(block);
        ::SendMessageW(m_pFrame->fnGetHandle(), WM_DROPFILES, reinterpret_cast<WPARAM>(block), 0);
    }

    const fs::path m_Folder =
        fs::temp_directory_path() / ("q32frame" + std::to_string(std::random_device()()));
    const std::shared_ptr<Keyboard> m_pKeyboard = std::make_shared<Keyboard>();
    const std::shared_ptr<Boxes> m_pBoxes = std::make_shared<Boxes>();
    std::unique_ptr<Frame> m_pFrame;
    HWND m_Bar = nullptr;
    HWND m_View = nullptr;
};

TEST_F(ViewerFrame, PicturesOfEveryFormatOpenWhenTheyAreDropped) {
    unsigned int width = 100;
    for (const char* name : {"a.png", "b.jpg", "c.tif", "d.bmp"}) {
        fnDrop(fnWritePicture(name, ++width, 80));
        EXPECT_EQ(fnGetState(),
                  std::string(name) + "   " + std::to_string(width) + " x 80, 24 bits, 1:1");
        ::UpdateWindow(m_View);
        RECT client;
        ::GetClientRect(m_View, &client);
        const std::vector<std::uint32_t> seen = q32::test::fnCapture(m_View);
        const auto pixel = [&](LONG x, LONG y) {
            return seen[static_cast<std::size_t>(y * client.right + x)];
        };
        // The four quarters are different, on every screen.
        std::vector<std::uint32_t> corners = {pixel(8, 8), pixel(88, 8), pixel(8, 72),
                                              pixel(88, 72)};
        std::ranges::sort(corners);
        EXPECT_EQ(std::ranges::adjacent_find(corners), corners.end()) << name;
    }
}

TEST_F(ViewerFrame, AGaugeGrowsInTheStatusBarUntilEscape) {
    m_pFrame->fnOpen(fnWritePicture("large.png", 1500, 1000));
    fnCommand(COMMAND_ACTUAL);
    ::UpdateWindow(m_pFrame->fnGetHandle());
    const std::string before = fnGetState();
    const std::vector<std::uint32_t> idle = q32::test::fnCapture(m_Bar);
    // What changes in the middle row while the gauge is there is its length. Esc comes at the half.
    RECT client;
    ::GetClientRect(m_Bar, &client);
    const auto row = client.bottom / 2 * client.right;
    std::vector<std::uint32_t> start;
    std::set<LONG> lengths;
    m_pKeyboard->m_Look = [&] {
        const std::vector<std::uint32_t> seen = q32::test::fnCapture(m_Bar);
        if (start.empty() && seen != idle)
            start = seen;
        if (start.empty())
            return;
        LONG length = 0;
        for (LONG i = row; i < row + client.right; ++i)
            length += seen[static_cast<std::size_t>(i)] != start[static_cast<std::size_t>(i)];
        lengths.insert(length);
        m_pKeyboard->m_bEscape = length > client.right / 2;
    };
    fnCommand(COMMAND_ROTATE);
    m_pKeyboard->m_Look = [] {};
    EXPECT_TRUE(m_pKeyboard->m_bEscape) << "the gauge was seen to reach the middle";
    EXPECT_GT(lengths.size(), 10u) << "and on its way there";
    EXPECT_EQ(fnGetState(), before) << "the picture is as it was";
    ::UpdateWindow(m_Bar);
    EXPECT_EQ(q32::test::fnCapture(m_Bar), idle) << "and so is the bar";

    m_pKeyboard->m_bEscape = false;
    fnCommand(COMMAND_ROTATE);
    EXPECT_NE(fnGetState(), before);
}

TEST_F(ViewerFrame, ItSaysWhenASoundHasEnded) {
    m_pFrame->fnOpen(fnWriteSound("s.wav", 5000));
    EXPECT_EQ(fnGetState(), "s.wav   playing");
    EXPECT_TRUE(fnAwait([&] { return fnGetState() == "s.wav   stopped"; }, fnPump));
    fnCommand(COMMAND_PLAY);
    EXPECT_EQ(fnGetState(), "s.wav   playing");
    m_pFrame->fnOpen(fnWritePicture("a.png", 60, 50));
    const std::string picture = fnGetState();
    const ULONGLONG end = ::GetTickCount64() + 500;
    EXPECT_TRUE(fnAwait([&] { return ::GetTickCount64() > end; }, fnPump));
    EXPECT_EQ(fnGetState(), picture) << "what is shown since then stays";
}

TEST_F(ViewerFrame, WhatFailsWhileAFileIsOpenedIsShown) {
    for (const std::string& path : {fnWritePicture("a.bmp", 9, 5), fnWriteSound("s.wav", 100)}) {
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            EXPECT_NO_THROW(m_pFrame->fnOpen(path));
            failure.fnEnd();
        });
        EXPECT_GT(failures, 5u) << path;
        EXPECT_GT(std::exchange(m_pBoxes->m_nShown, 0), 0) << path;
        m_pFrame->fnOpen(path);
        EXPECT_EQ(m_pBoxes->m_nShown, 0) << path;
    }
    m_pFrame->fnOpen((m_Folder / "missing.png").string());
    EXPECT_EQ(m_pBoxes->m_nShown, 1);
}

TEST_F(ViewerFrame, OnAMonitorOfAnotherDensityItTakesThePlaceAndAFont) {
    const auto height = [&] {
        RECT bar;
        ::GetWindowRect(m_Bar, &bar);
        return bar.bottom - bar.top;
    };
    const LONG low = height();
    const RECT place{20, 30, 720, 530};
    ::SendMessageW(m_pFrame->fnGetHandle(), WM_DPICHANGED, MAKEWPARAM(192, 192),
                   reinterpret_cast<LPARAM>(&place));
    RECT frame;
    ::GetWindowRect(m_pFrame->fnGetHandle(), &frame);
    EXPECT_TRUE(::EqualRect(&frame, &place));
    EXPECT_GT(height(), low) << "its text is twice as high";
    RECT client;
    RECT view;
    ::GetClientRect(m_pFrame->fnGetHandle(), &client);
    ::GetWindowRect(m_View, &view);
    EXPECT_EQ(view.right - view.left, client.right);
    EXPECT_EQ(view.bottom - view.top, client.bottom - height());
}

} // namespace
