/// @file
/// The actions of the main window that are no operations, as a table.
#pragma once

#include "examples/darkroom/ui/PictureView.h"

#include <span>

namespace darkroom {

class MainWindow;

/// What there must be for an action to be on.
enum class Needs { NOTHING, PICTURE, COLOR_PICTURE, SELECTABLE, SELECTION };

struct ActionEntry {
    const char* m_pszId;
    const char* m_pszText; ///< null: a line between actions
    const char* m_pszKeys; ///< portable text, "; " between several; may be empty
    const char* m_pszMenu;
    Needs m_eNeeds;
    void (MainWindow::*m_pRun)();
};

struct ToolEntry {
    const char* m_pszId;
    const char* m_pszText;
    const char* m_pszKeys;
    Tool m_eTool;
    Needs m_eNeeds;
};

/// The window's commands are its own; this names them.
struct ActionTable {
    static std::span<const ActionEntry> fnGetActions();
};

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
