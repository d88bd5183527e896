#pragma once

#include "examples/viewer/Player.h"
#include "platforms/win32/CqWin32View.h"
#include "platforms/win32/win32.h"
#include "q32Base/image/CqImage.h"

#include <memory>
#include <string>

/// The viewer's window: a view, and a status bar on which long operations show their progress.
class Frame {
public:
    /// Creates the window and tells the library. fnGetHandle is null if that fails.
    explicit Frame(CqWin32Windows& windows);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    HWND fnGetHandle() const { return m_Window; }
    /// Opens a picture or a sound by its path in UTF-8. A message box shows what fails.
    void fnOpen(const std::string& path);
    /// Shows what the handling of a message has thrown in the view or in the library's windows. To
    /// be called after each.
    void fnShowFailures();

private:
    static LRESULT CALLBACK fnDispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT fnHandle(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void fnCreateParts();
    void fnLayOut();
    /// The monitor has another density: takes the place that suits it, and a font.
    void fnTakeDensity(int density, const RECT& place);
    void fnOnCommand(UINT command);
    void fnOnDrop(HDROP drop);
    void fnUpdateMenu(HMENU menu) const;
    bool fnIsEnabled(UINT command) const;
    void fnAskAndOpen();
    void fnOpenSound(const std::string& path);
    void fnOpenPicture(const std::string& path);
    void fnRotate();
    void fnShowState();
    /// Shows whether the sound plays, and looks again until it doesn't.
    void fnShowSound();
    void fnOnTimer();
    void fnShow(const std::string& text);

    CqWin32Windows& m_Windows;
    CqWin32App m_App{"Viewer"};
    HWND m_Window = nullptr;
    std::unique_ptr<CqWin32Wnd> m_pFrame;
    std::unique_ptr<CqWin32Wnd> m_pBar;
    std::unique_ptr<CqImage> m_pImage;
    std::unique_ptr<CqWin32View> m_pView;
    Player m_Player;
    std::string m_szName;       ///< of the picture
    std::string m_szSound;      ///< of the sound
    bool m_bShowsSound = false; ///< the status bar does
    bool m_bBusy = false;       ///< a long operation runs
    HFONT m_BarFont = nullptr;  ///< of the status bar; null for the system's
};
