#include "q32Base/framework/CFile.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/messages/ReportMemory.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/services/CqDumpWnd_p.h"
#include "q32Base/services/CqPowerStr.h"
#include "q32Base/settings/Settings_p.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace {

std::shared_ptr<CqDumpWnd> theWnd;

/// Commands of the system menu, which are also the string ids of their prompts.
constexpr UINT kSaveCommand = q32::STRING_DUMP_SAVE_PROMPT;
constexpr UINT kOnTopCommand = q32::STRING_DUMP_ON_TOP_PROMPT;
constexpr UINT kCommandMask = 0xFFF0;

constexpr UINT kHideReadOnly = 0x4;
constexpr UINT kOverwritePrompt = 0x2;
constexpr UINT kExplorer = 0x80000;

/// Reads comma-separated numbers into the fields in turn; fields without a number are unchanged.
/// Numbers after the fourth are ignored.
void fnParseLayout(const char* text, CRect& rect) {
    for (LONG* field : {&rect.left, &rect.top, &rect.right, &rect.bottom}) {
        *field = q32::fnParseInt(text);
        const std::size_t length = std::strlen(text);
        const std::size_t comma = q32::fnFindChar(text, length, ',');
        if (comma == length)
            return;
        text += comma + 1;
    }
}

} // namespace

const CRuntimeClass CqDumpWnd::classCqDumpWnd = {
    "CqDumpWnd", sizeof(CqDumpWnd), 0xFFFF,
    [] { return static_cast<CObject*>(q32::fnNew<CqDumpWnd>()); }, &CObject::classCObject};

const CRuntimeClass* CqDumpWnd::GetRuntimeClass() const {
    return &classCqDumpWnd;
}

bool CqDumpWnd::fnCreateOnly() {
    if (theWnd)
        return true;
    if (!q32::fnHasPlatform())
        return false;
    return q32::fnReportMemory([] {
        const std::shared_ptr<CqDumpWnd> created(
            static_cast<CqDumpWnd*>(classCqDumpWnd.CreateObject()));
        if (!created->fnCreate())
            return false;
        theWnd = created;
        return true;
    });
}

bool CqDumpWnd::fnCreate() {
    CRect place;
    fnLayout(place, false);
    CqDumpViewSetup setup{"Dump Window", std::nullopt, q32::fnFindString(q32::STRING_IDLE_PROMPT)};
    if (!place.IsRectEmpty())
        setup.m_Place = place;
    m_pView = q32::fnPlatform().m_pWindows->fnCreateDumpView(setup, *this);
    if (!m_pView)
        return false;
    if (!fnCreateParts()) {
        q32ShowMsg(MESSAGE_NO_MEMORY, nullptr, nullptr, nullptr, 0);
        return false;
    }
    m_pView->fnShow();
    return true;
}

bool CqDumpWnd::fnCreateParts() {
    if (!m_pView->fnCreateText() || !m_pView->fnCreateStatusBar())
        return false;
    if (m_Font.CreateIconTitleFont())
        m_pView->fnSetFont(m_Font);
    if (m_bOnTop)
        m_pView->fnSetOnTop(true);
    fnInsertMenu();
    return true;
}

void CqDumpWnd::fnInsertMenu() {
    // Each is inserted at the top: the menu begins with Save, Always On Top and a separator.
    m_pView->fnInsertMenuItem(CqDumpMenuItem());
    m_pView->fnInsertMenuItem({kOnTopCommand, q32::fnFindString(q32::STRING_DUMP_MENU_ON_TOP),
                               q32::fnFindString(q32::STRING_DUMP_ON_TOP_PROMPT)});
    m_pView->fnInsertMenuItem({kSaveCommand, q32::fnFindString(q32::STRING_DUMP_MENU_SAVE),
                               q32::fnFindString(q32::STRING_DUMP_SAVE_PROMPT)});
    if (m_bOnTop)
        m_pView->fnCheckMenuItem(kOnTopCommand, true);
}

void CqDumpWnd::fnDestroyOnly() noexcept {
    const auto held = std::exchange(theWnd, nullptr);
    if (!held)
        return;
    held->fnSaveLayout();
}

void CqDumpWnd::fnOnClose() {
    if (theWnd.get() == this)
        fnDestroyOnly();
}

bool CqDumpWnd::fnOnSysCommand(UINT id) {
    const UINT command = id & kCommandMask;
    if (command != kOnTopCommand && command != kSaveCommand)
        return false;
    const auto held = shared_from_this();
    q32::fnReportMemory([&] { command == kSaveCommand ? fnSave() : fnToggleOnTop(); });
    return true;
}

void CqDumpWnd::fnToggleOnTop() {
    const bool onTop = !m_bOnTop;
    m_pView->fnSetOnTop(onTop); // may throw; nothing has changed then
    m_bOnTop = onTop;
    m_pView->fnCheckMenuItem(kOnTopCommand, onTop);
}

void CqDumpWnd::fnSave() {
    CqPowerStr filter;
    filter.fnSegmentConcat(q32::fnFindString(q32::STRING_TEXT_FILE_FILTER));
    filter.fnSegmentConcat("*.txt");
    filter.fnSegmentConcat(nullptr);
    const CqSaveRequest request{"txt", kExplorer | kOverwritePrompt | kHideReadOnly, filter,
                                m_strPrefDir.IsEmpty() ? nullptr
                                                       : m_strPrefDir.operator const char*()};
    std::string path;
    // A dialog dispatches messages: the library may have been detached meanwhile.
    if (!m_pView->fnAskSaveName(request, path) || !q32::fnHasPlatform())
        return;
    try {
        fnSaveAs(path.c_str());
    } catch (CFileException* failure) {
        const bool inUse = failure->m_cause == FILE_CAUSE_SHARING_VIOLATION ||
                           failure->m_cause == FILE_CAUSE_LOCK_VIOLATION;
        failure->Delete();
        q32ShowMsg(inUse ? MESSAGE_IN_USE : MESSAGE_CANNOT_SAVE, nullptr, path.c_str(), nullptr, 0);
    }
}

void CqDumpWnd::fnSaveAs(const char* path) {
    const std::string text = m_pView->fnGetText(); // saves what is shown, whichever stream wrote it
    CFile file(path, CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive);
    file.Write(text.data(), text.size());
    file.Close();
    CqPowerStr folder;
    folder.fnSplitPathName(path);
    m_strPrefDir = folder;
}

void CqDumpWnd::fnSaveLayout() noexcept {
    q32::fnTryMemory([this] { // a failure loses only the layout
        CRect place(m_pView->fnGetPlace());
        fnLayout(place, true);
    });
}

bool CqDumpWnd::fnLayout(CRect& rect, bool saving) {
    using namespace q32;
    return fnTryMemory([&] {
        char value[kSettingBytes];
        if (saving) {
            std::snprintf(value, sizeof(value), "%d,%d,%d,%d", static_cast<int>(rect.left),
                          static_cast<int>(rect.top), static_cast<int>(rect.right),
                          static_cast<int>(rect.bottom));
            fnWriteSetting(STRING_SECTION_DUMP_WND, STRING_KEY_LAYOUT, value);
            fnWriteSetting(STRING_SECTION_DUMP_WND, STRING_KEY_PREF_DIR, m_strPrefDir);
            fnWriteSetting(STRING_SECTION_DUMP_WND, STRING_KEY_ON_TOP, m_bOnTop);
            return true;
        }
        if (fnReadSetting(STRING_SECTION_DUMP_WND, STRING_KEY_LAYOUT, nullptr, value,
                          sizeof(value)) > 0)
            fnParseLayout(value, rect);
        char folder[2 * kSettingBytes]; // a folder's path can be that long
        if (fnReadSetting(STRING_SECTION_DUMP_WND, STRING_KEY_PREF_DIR, nullptr, folder,
                          sizeof(folder)) > 0)
            m_strPrefDir = folder;
        const auto onTop =
            fnReadSettingNumber(STRING_SECTION_DUMP_WND, STRING_KEY_ON_TOP, kShortSettingBytes);
        m_bOnTop = onTop.value_or(1) == 1;
        return true;
    });
}

void CqDumpWnd::fnShowText(const void* stream, const char* text, std::size_t length,
                           std::size_t before) noexcept {
    if (!theWnd)
        return;
    const auto held = theWnd;
    // A view that misses an output receives the whole text with the next one.
    q32::fnTryMemory([&] {
        const bool continues = held->m_pShown == stream && before > 0;
        held->m_pShown = nullptr; // unknown if the update fails
        if (!continues || !held->m_pView->fnAppendText(text + before, length - before))
            held->m_pView->fnSetText(text, length);
        held->m_pShown = stream;
    });
}

void CqDumpWnd::fnForget(const void* stream) noexcept {
    if (theWnd && theWnd->m_pShown == stream)
        theWnd->m_pShown = nullptr;
}
