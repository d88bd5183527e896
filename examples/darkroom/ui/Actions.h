/// @file The main window's actions other than operations, as a table.
#pragma once

#include "examples/darkroom/ui/PictureView.h"

#include <span>

namespace darkroom {

class MainWindow;

/// The condition under which an action is enabled.
enum class Needs { NOTHING, PICTURE, COLOR_PICTURE, SELECTABLE, SELECTION };

/// An action of a menu.
struct ActionEntry {
    const char* m_pszId;
    const char* m_pszText; ///< null: a separator
    const char* m_pszKeys; ///< portable text, "; " between several; may be empty
    const char* m_pszMenu;
    Needs m_eNeeds;
    void (MainWindow::*m_pRun)();
};

/// A mouse tool, selected by an action.
struct ToolEntry {
    const char* m_pszId;
    const char* m_pszText;
    const char* m_pszKeys;
    Tool m_eTool;
    Needs m_eNeeds;
};

/// Commands are private to the window; this names them.
struct ActionTable {
    static std::span<const ActionEntry> fnGetActions();
};

/// The mouse tools, in the order of the menu.
std::span<const ToolEntry> fnGetTools();

inline constexpr char kMenuFile[] = "&File";
inline constexpr char kMenuEdit[] = "&Edit";
inline constexpr char kMenuView[] = "&View";
inline constexpr char kMenuImage[] = "&Image";
inline constexpr char kMenuAdjust[] = "&Adjust";
inline constexpr char kMenuFilter[] = "Fi&lter";
inline constexpr char kMenuTools[] = "&Tools";
inline constexpr char kMenuHelp[] = "&Help";

/// The menus from left to right.
inline constexpr const char* kMenus[] = {kMenuFile,   kMenuEdit,   kMenuView,  kMenuImage,
                                         kMenuAdjust, kMenuFilter, kMenuTools, kMenuHelp};

} // namespace darkroom
