/// @file What a host of Windows does with names that the system's headers define as macros: calls
/// of the system's functions and of the library's members. One test includes it after each order of
/// headers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace {

/// A window that records its messages.
class RecordingWnd : public CWnd {
public:
    CRect GetClientRect() const override { return {}; }
    LRESULT SendMessage(UINT message, WPARAM, LPARAM) override { return LRESULT{message}; }
    void InvalidateRect(const RECT*, bool) override {}
    bool IsWindow() const override { return true; }
};

inline void fnUseSystemAndLibrary() {
    RecordingWnd window;
    CWnd& base = window;
    EXPECT_EQ(base.SendMessage(WM_DESTROY, 0, 0), LRESULT{WM_DESTROY});
    EXPECT_EQ(SendMessage(nullptr, WM_NULL, 0, 0), 0);

    CRgn region;
    EXPECT_EQ(region.GetObject(), nullptr);
    CString text16;
    EXPECT_FALSE(text16.LoadString(0));
    BITMAP bitmap{};
    const HBITMAP object = CreateBitmap(3, 2, 1, 1, nullptr);
    EXPECT_NE(GetObject(object, sizeof(bitmap), &bitmap), 0);
    EXPECT_EQ(bitmap.bmWidth, 3);
    DeleteObject(object);

    const HDC dc = CreateCompatibleDC(nullptr);
    TEXTMETRIC metrics;
    EXPECT_TRUE(GetTextMetrics(dc, &metrics));
    SIZE size{};
    const TCHAR text[] = {'a', 'b', 0};
    EXPECT_TRUE(GetTextExtentPoint32(dc, text, 2, &size));
    RECT rect{0, 0, 100, 100};
    EXPECT_GT(DrawText(dc, text, 2, &rect, DT_SINGLELINE | DT_CALCRECT), 0);
    DeleteDC(dc);
    LOGFONT font{};
    font.lfHeight = -12;
    const HFONT made = CreateFontIndirect(&font);
    EXPECT_NE(made, nullptr);
    DeleteObject(made);
    TCHAR loaded[4];
    EXPECT_EQ(LoadString(nullptr, 1, loaded, static_cast<int>(std::size(loaded))), 0);

    EXPECT_EQ(std::min(1, 2), 1);
    EXPECT_EQ(std::max(1, 2), 2);
}

} // namespace
