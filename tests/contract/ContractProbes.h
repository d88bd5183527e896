/// @file The probes of a back end: how a contract suite acts as the user or the script, and sees
/// what the user sees. A back end implements those of the services that it provides.
#pragma once

#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqDumpView.h"
#include "q32Base/platform/CqResourceService.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// Pixels in rows from the top left.
struct ContractPicture {
    int m_nWidth = 0;
    int m_nHeight = 0;
    std::vector<std::uint32_t> m_Pixels; ///< 0x00RRGGBB

    std::uint32_t& fnAt(int x, int y) {
        return m_Pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nWidth) +
                        static_cast<std::size_t>(x)];
    }
    bool operator==(const ContractPicture&) const = default;
};

/// A visible window. Its destructor removes it from the screen.
class ContractWindow {
public:
    static constexpr int kWidth = 60;
    static constexpr int kHeight = 40;

    virtual ~ContractWindow() = default;
    virtual CWnd& fnGetWnd() = 0;
    /// What the screen shows in the client area.
    virtual ContractPicture fnGetPicture() = 0;
    /// Closes the window as the user would; its CWnd stays.
    virtual void fnEnd() = 0;
};

/// A message box as shown.
struct ContractBox {
    std::string m_szText;
    std::string m_szCaption;
    std::set<int> m_Buttons; ///< their answers
    UINT m_nIcon = 0;        ///< of MB_ICONMASK
};

/// The message boxes, as the user answers them.
class ContractBoxes {
public:
    virtual ~ContractBoxes() = default;
    /// Answers the next unanswered box with a button; `look` receives the box first.
    virtual void fnAnswer(int button, std::function<void(const ContractBox&)> look) = 0;
};

/// The keyboard and other input, as the user operates them.
class ContractKeys {
public:
    virtual ~ContractKeys() = default;
    /// A key is pressed or released, with its message. Only VK_ESCAPE and capitals.
    virtual void fnPress(int key) = 0;
    virtual void fnRelease(int key) = 0;
    /// Input of another kind, identified by a number from 1 to 50.
    virtual void fnClick(int number) = 0;
    /// The other input that has reached the window or will reach it once the operation is over.
    virtual std::vector<int> fnGetClicks(std::size_t expected) = 0;
};

/// The host's modules: only those added here, in that order.
class ContractModules {
public:
    virtual ~ContractModules() = default;
    virtual HINSTANCE fnAddModule() = 0;
    virtual void fnRemoveModule(HINSTANCE module) = 0;
    virtual void fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name,
                       std::string_view bytes) = 0;
    virtual void fnAddString(HINSTANCE module, UINT id, const std::string& text) = 0;
};

/// An application with a main window: a frame with a message bar and a progress control.
class ContractHost {
public:
    virtual ~ContractHost() = default;
    /// Creates them and shows the window.
    virtual void fnOpen() = 0;
    virtual CWinApp& fnGetApp() = 0;
    virtual CWnd& fnGetFrame() = 0;
    virtual CProgressCtrl& fnGetProgress() = 0;
    /// What the control shows: lower limit, upper limit, position.
    virtual std::vector<int> fnGetProgressState() = 0;
    /// What the screen shows in the message bar.
    virtual ContractPicture fnGetBarPicture() = 0;
    /// Closes the window as the user would: it ends together with its parts. Their objects stay.
    virtual void fnEndWindow() = 0;
    /// Removes both from the application.
    virtual void fnForget() = 0;
};

/// The present dump window, as its user sees and uses it.
class ContractDump {
public:
    struct Item {
        std::string m_szText; ///< empty for a separator
        bool m_bChecked = false;
        bool operator==(const Item&) const = default;
    };

    virtual ~ContractDump() = default;
    /// Whether there is a window, visible or not.
    virtual bool fnStands() = 0;
    virtual bool fnIsShown() = 0;
    virtual bool fnIsOnTop() = 0;
    virtual std::string fnGetCaption() = 0;
    /// All lines of the text; at least one.
    virtual std::vector<std::string> fnGetLines() = 0;
    /// The text of the status bar while the item is highlighted, or while none is for an empty
    /// text.
    virtual std::string fnGetStatus(const std::string& item) = 0;
    /// The items that the library has added to the menu, from the top.
    virtual std::vector<Item> fnGetMenu() = 0;
    virtual void fnChoose(const std::string& item) = 0;
    virtual void fnClose() = 0;
    /// Answers the next save dialog with a full path, in the library's form, or cancels it if there
    /// is none.
    virtual void fnAnswerSave(const std::optional<std::string>& path) = 0;
};
