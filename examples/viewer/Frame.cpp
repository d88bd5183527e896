#include "examples/viewer/Frame.h"

#include "examples/viewer/Commands.h"
#include "plugins/PictureFile.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/services/CqProgressDisplay.h"

#include <algorithm>
#include <cctype>
#include <commdlg.h>
#include <cstdio>
#include <exception>
#include <iterator>
#include <new>
#include <shellapi.h>
#include <utility>

namespace {

constexpr UINT kCommands[] = {COMMAND_ZOOM_IN, COMMAND_ZOOM_OUT, COMMAND_ACTUAL, COMMAND_FIT,
                              COMMAND_ROTATE,  COMMAND_PLAY,     COMMAND_STOP};
constexpr double kAngle = 30; ///< degrees
constexpr UINT_PTR kSoundTimer = 1;
constexpr UINT kSoundLook = 100; ///< ms

std::string fnToUtf8(const wchar_t* text) {
    std::string bytes(static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr,
                                                                     0, nullptr, nullptr)),
                      '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), static_cast<int>(bytes.size()),
                          nullptr, nullptr);
    bytes.pop_back(); // the NUL
    return bytes;
}

std::wstring fnToWide(const std::string& text) {
    std::wstring wide(text.size() + 1, L'\0');
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                              static_cast<int>(wide.size()))));
    return wide;
}

std::string fnGetFileName(const std::string& path) {
    return path.substr(path.find_last_of("\\/") + 1);
}

bool fnIsSound(const std::string& path) {
    std::string end = path.substr(path.size() < 4 ? 0 : path.size() - 4);
    std::ranges::transform(end, end.begin(), [](char letter) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    });
    return end == ".wav";
}

/// Shows how much of a picture has been read, and ends it on Esc.
class Reading final : public CqPictureProgress {
public:
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        m_Display.fnDrawStatus(percent, &aborted);
    }

private:
    CqProgressDisplay m_Display;
};

/// Runs `work` and shows what it throws: no exception may pass the system's frames.
template <typename Work>
void fnGuard(Work work) {
    try {
        work();
    } catch (CException* failure) {
        const CString text = q32ExceptionText(*failure);
        failure->Delete();
        q32ShowMsgStr(text, MB_ICONHAND);
    } catch (const std::bad_alloc&) {
        ::MessageBeep(MB_ICONHAND);
    } catch (const std::exception& failure) {
        q32ShowMsgStr(failure.what(), MB_ICONHAND);
    }
}

/// While it lives, commands have no effect.
class Busy {
public:
    explicit Busy(bool& mark) : m_bMark(mark) { m_bMark = true; }
    ~Busy() { m_bMark = false; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    bool& m_bMark;
};

} // namespace

Frame::Frame(CqWin32Windows& windows) : m_Windows(windows) {
    WNDCLASSW kind{};
    kind.lpfnWndProc = fnDispatch;
    kind.hInstance = ::GetModuleHandleW(nullptr);
    kind.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    kind.hIcon = ::LoadIcon(nullptr, IDI_APPLICATION);
    kind.lpszMenuName = MAKEINTRESOURCEW(MENU_MAIN);
    kind.lpszClassName = L"" WINDOW_CLASS;
    ::RegisterClassW(&kind);
    m_Window = ::CreateWindowExW(
        WS_EX_ACCEPTFILES, kind.lpszClassName, L"Viewer", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
        CW_USEDEFAULT, CW_USEDEFAULT, 640, 480, nullptr, nullptr, kind.hInstance, nullptr);
    if (m_Window)
        fnCreateParts();
}

Frame::~Frame() {
    m_Windows.fnSetApp(nullptr);
    m_Windows.fnSetMainWnd(nullptr);
    if (::IsWindow(m_Window))
        ::DestroyWindow(m_Window);
    ::DeleteObject(m_BarFont);
}

void Frame::fnCreateParts() {
    const INITCOMMONCONTROLSEX kinds{sizeof kinds, ICC_BAR_CLASSES};
    ::InitCommonControlsEx(&kinds);
    ::SetWindowLongPtrW(m_Window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    m_pFrame = std::make_unique<CqWin32Wnd>(m_Window);
    m_pBar = std::make_unique<CqWin32Wnd>(
        ::CreateWindowExW(0, STATUSCLASSNAMEW, L"Open a picture, or drop one here",
                          WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, m_Window, nullptr, nullptr, nullptr));
    m_pFrame->fnSetMessageBar(m_pBar.get());
    m_pView = std::make_unique<CqWin32View>(m_Window, RECT{0, 0, 10, 10}, 1);
    m_pView->m_OnMoved = [this] { fnShowState(); };
    m_Windows.fnSetApp(&m_App);
    m_Windows.fnSetMainWnd(m_pFrame.get());
    fnLayOut();
}

void Frame::fnLayOut() {
    RECT client;
    RECT bar;
    ::GetClientRect(m_Window, &client);
    ::SendMessageW(m_pBar->fnGetHandle(), WM_SIZE, 0, 0);
    ::GetWindowRect(m_pBar->fnGetHandle(), &bar);
    ::MoveWindow(m_pView->fnGetHandle(), 0, 0, client.right,
                 std::max<LONG>(0, client.bottom - (bar.bottom - bar.top)), TRUE);
}

void Frame::fnTakeDensity(int density, const RECT& place) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const HDC dc = ::GetDC(nullptr);
    LOGFONTW font = metrics.lfStatusFont; // for the density of the whole screen
    font.lfHeight = ::MulDiv(font.lfHeight, density, ::GetDeviceCaps(dc, LOGPIXELSY));
    ::ReleaseDC(nullptr, dc);
    const HFONT made = ::CreateFontIndirectW(&font);
    ::SendMessageW(m_pBar->fnGetHandle(), WM_SETFONT, reinterpret_cast<WPARAM>(made), TRUE);
    ::DeleteObject(std::exchange(m_BarFont, made));
    ::SetWindowPos(m_Window, nullptr, place.left, place.top, place.right - place.left,
                   place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
    fnLayOut();
}

LRESULT CALLBACK Frame::fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* frame = reinterpret_cast<Frame*>( // NOLINT(performance-no-int-to-ptr)
        ::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!frame)
        return ::DefWindowProcW(window, message, wParam, lParam);
    LRESULT result = 0;
    fnGuard([&] { result = frame->fnHandle(window, message, wParam, lParam); });
    return result;
}

void Frame::fnShowFailures() {
    for (const std::exception_ptr& failure : {m_pView->fnTakeFailure(), m_Windows.fnTakeFailure()})
        if (failure)
            fnGuard([&] { std::rethrow_exception(failure); });
}

LRESULT Frame::fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT result = 0;
    if (m_pView && m_pView->fnOnFrameMessage(message, wParam, result))
        return result;
    switch (message) {
    case WM_SIZE:
        if (m_pView)
            fnLayOut();
        return 0;
    case WM_DPICHANGED:
        if (m_pView)
            fnTakeDensity(
                LOWORD(wParam),
                *reinterpret_cast<const RECT*>(lParam)); // NOLINT(performance-no-int-to-ptr)
        return 0;
    case WM_SETFOCUS:
        if (m_pView)
            ::SetFocus(m_pView->fnGetHandle());
        return 0;
    case WM_MOUSEWHEEL: // the system sends it to the focus
        return ::SendMessageW(m_pView->fnGetHandle(), message, wParam, lParam);
    case WM_INITMENUPOPUP:
        fnUpdateMenu(reinterpret_cast<HMENU>(wParam)); // NOLINT(performance-no-int-to-ptr)
        return 0;
    case WM_COMMAND:
        fnOnCommand(LOWORD(wParam));
        return 0;
    case WM_DROPFILES:
        fnOnDrop(reinterpret_cast<HDROP>(wParam)); // NOLINT(performance-no-int-to-ptr)
        return 0;
    case WM_TIMER:
        fnOnTimer();
        return 0;
    case WM_CLOSE:
        if (!m_bBusy)
            ::PostQuitMessage(0);
        return 0;
    default:
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

bool Frame::fnIsEnabled(UINT command) const {
    switch (command) {
    case COMMAND_PLAY:
        return !m_Player.fnIsEmpty();
    case COMMAND_STOP:
        return m_Player.fnIsPlaying();
    default:
        return m_pImage && !m_bBusy;
    }
}

void Frame::fnUpdateMenu(HMENU menu) const {
    for (const UINT command : kCommands)
        CqWin32CmdUI(command, menu).Enable(fnIsEnabled(command));
}

void Frame::fnOnCommand(UINT command) {
    const bool isOfPicture = std::ranges::find(kCommands, command) != std::end(kCommands);
    if (isOfPicture && !fnIsEnabled(command))
        return;
    const CRect view = m_pView->GetClientRect();
    const CPoint center(view.Width() / 2, view.Height() / 2);
    const int scale = m_pView->fnGetScale();
    switch (command) {
    case COMMAND_OPEN:
        fnAskAndOpen();
        break;
    case COMMAND_EXIT:
        ::PostMessageW(m_Window, WM_CLOSE, 0, 0);
        break;
    case COMMAND_ZOOM_IN:
        m_pView->fnSetScale(scale == -2 ? 1 : scale + 1, center);
        break;
    case COMMAND_ZOOM_OUT:
        m_pView->fnSetScale(scale == 1 ? -2 : scale - 1, center);
        break;
    case COMMAND_ACTUAL:
        m_pView->fnSetScale(1, center);
        break;
    case COMMAND_FIT:
        m_pView->fnFit();
        break;
    case COMMAND_ROTATE:
        fnRotate();
        break;
    case COMMAND_PLAY:
        m_Player.fnPlay();
        fnShowSound();
        break;
    case COMMAND_STOP:
        m_Player.fnStop();
        fnShowSound();
        break;
    default:
        break;
    }
}

void Frame::fnOnDrop(HDROP drop) {
    std::wstring path(::DragQueryFileW(drop, 0, nullptr, 0) + 1, L'\0');
    ::DragQueryFileW(drop, 0, path.data(), static_cast<UINT>(path.size()));
    ::DragFinish(drop);
    fnOpen(fnToUtf8(path.c_str()));
}

void Frame::fnAskAndOpen() {
    std::wstring path(32768, L'\0');
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = m_Window;
    dialog.lpstrFilter = L"Pictures and sounds\0*.png;*.jpg;*.jpeg;*.tif;*.tiff;*.bmp;*.wav\0";
    dialog.lpstrFile = path.data();
    dialog.nMaxFile = static_cast<DWORD>(path.size());
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR;
    if (::GetOpenFileNameW(&dialog))
        fnOpen(fnToUtf8(path.c_str()));
}

void Frame::fnOpen(const std::string& path) {
    fnGuard([&] { fnIsSound(path) ? fnOpenSound(path) : fnOpenPicture(path); });
}

void Frame::fnOpenSound(const std::string& path) {
    if (!m_Player.fnOpen(path.c_str()))
        return;
    m_szSound = fnGetFileName(path);
    m_Player.fnPlay();
    fnShowSound();
}

void Frame::fnOpenPicture(const std::string& path) {
    auto image = std::make_unique<CqImage>();
    CqPictureResult result;
    {
        const Busy busy(m_bBusy);
        Reading progress;
        result = q32ReadPicture(path.c_str(), *image, &progress);
    }
    if (!q32ShowPictureResult(result))
        return;
    m_pView->fnSetImage(image.get());
    m_pImage = std::move(image); // the old one goes when nothing shows it
    m_szName = fnGetFileName(path);
    m_pView->fnFit();
    fnShowState();
}

void Frame::fnRotate() {
    {
        const Busy busy(m_bBusy);
        CqProgressDisplay progress;
        m_pImage->fnRotate(kAngle, CqColor(255, 255, 255), nullptr, true, &progress);
    }
    m_pView->fnUpdateImage(nullptr);
    fnShowState();
}

void Frame::fnShowState() {
    if (!m_pImage || m_bBusy)
        return;
    const int scale = m_pView->fnGetScale();
    char state[128];
    std::snprintf(state, sizeof state, "   %u x %u, %u bits, %d:%d", m_pImage->Width,
                  m_pImage->Height, m_pImage->BitCount, std::max(scale, 1), std::max(-scale, 1));
    fnShow(m_szName + state);
    m_bShowsSound = false;
}

void Frame::fnShowSound() {
    const bool isPlaying = m_Player.fnIsPlaying();
    if (isPlaying)
        ::SetTimer(m_Window, kSoundTimer, kSoundLook, nullptr);
    else
        ::KillTimer(m_Window, kSoundTimer);
    fnShow(m_szSound + (isPlaying ? "   playing" : "   stopped"));
    m_bShowsSound = true;
}

void Frame::fnOnTimer() {
    if (m_Player.fnIsPlaying())
        return;
    ::KillTimer(m_Window, kSoundTimer);
    if (m_bShowsSound)
        fnShowSound();
}

void Frame::fnShow(const std::string& text) {
    const std::wstring wide = fnToWide(text);
    ::SendMessageW(m_pBar->fnGetHandle(), SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(wide.c_str()));
}
