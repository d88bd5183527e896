/// @file A platform of minimal services, in force for the lifetime of an object: backed only by
/// maps that a test fills and reads.
#pragma once

#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/CqPlatform.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Text files by name. The rest of the file service is missing.
class CqFakeFiles : public CqFileService {
public:
    std::map<std::string, std::string> m_Texts;
    std::optional<std::string> m_ConfigDirectory = "C:\\Windows";
    bool m_bReadFails = false;
    bool m_bWriteFails = false;
    bool m_bMemoryFails = false; ///< reading and rewriting
    int m_nReads = 0;
    int m_nWrites = 0; ///< rewrites that changed something

    bool fnGetTempDirectory(std::string&) override { return false; }
    bool fnGetConfigDirectory(std::string& directory) override {
        directory = m_ConfigDirectory.value_or("rubbish");
        return m_ConfigDirectory.has_value();
    }
    bool fnExists(const char* path) override { return m_Texts.contains(path); }
    bool fnCreateDirectory(const char*) override { return false; }
    std::vector<std::string> fnFind(const char*) override { return {}; }
    bool fnDelete(const char* name) override { return m_Texts.erase(name) != 0; }
    bool fnGetInfo(const char*, bool, CqFileInfo&) override { return false; }
    bool fnHasWideSpaceQuery() override { return true; }
    bool fnGetSpace(const char*, CqDiskSpace&) override { return false; }
    bool fnGetClusters(const char*, CqDiskClusters&) override { return false; }
    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override;
    std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char*,
                                                         CQ_FILE_CAUSE& cause) override {
        cause = FILE_CAUSE_GENERIC;
        return nullptr;
    }

    bool fnReadText(const char* name, std::string& text) override {
        ++m_nReads;
        if (m_bMemoryFails)
            throw std::bad_alloc();
        const auto found = m_Texts.find(name);
        if (m_bReadFails) {
            text = "[VMPolicy]\r\nMemPercent=1\r\n"; // data read before the failure is discarded
            return false;
        }
        if (found == m_Texts.end())
            return false;
        text = found->second;
        return true;
    }
    bool fnUpdateText(const char* name, const std::function<bool(std::string&)>& edit) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        std::string text = m_Texts.contains(name) ? m_Texts[name] : "";
        if (!edit(text))
            return true;
        if (m_bWriteFails)
            return false;
        ++m_nWrites;
        m_Texts[name] = text;
        return true;
    }
};

/// An open file of CqFakeFiles.
class CqFakeStream : public CqFileStream {
public:
    CqFakeStream(std::string& text, const CqFileMode& mode) : m_Text(text), m_Mode(mode) {}

    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override {
        if (!m_Mode.m_bRead || m_bClosed)
            return FILE_CAUSE_ACCESS_DENIED;
        done = m_nAt < m_Text.size() ? m_Text.copy(static_cast<char*>(buffer), count, m_nAt) : 0;
        m_nAt += done;
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) override {
        if (!m_Mode.m_bWrite || m_bClosed)
            return FILE_CAUSE_ACCESS_DENIED;
        m_Text.resize(std::max(m_Text.size(), m_nAt + count));
        m_Text.replace(m_nAt, count, static_cast<const char*>(buffer), count);
        m_nAt += count;
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override {
        m_nAt = static_cast<std::size_t>(position);
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override {
        length = m_Text.size();
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnClose() override {
        m_bClosed = true;
        return m_Text == "full" ? FILE_CAUSE_DISK_FULL : FILE_CAUSE_NONE;
    }

private:
    std::string& m_Text;
    CqFileMode m_Mode;
    std::size_t m_nAt = 0;
    bool m_bClosed = false;
};

inline std::unique_ptr<CqFileStream> CqFakeFiles::fnOpen(const char* name, const CqFileMode& mode,
                                                         CQ_FILE_CAUSE& cause) {
    cause = FILE_CAUSE_NONE;
    if (m_bReadFails)
        return nullptr; // without a cause, which a service may omit
    if (!mode.m_bCreate && !m_Texts.contains(name)) {
        cause = FILE_CAUSE_NOT_FOUND;
        return nullptr;
    }
    if (mode.m_bCreate)
        m_Texts[name].clear();
    return std::make_unique<CqFakeStream>(m_Texts[name], mode);
}

/// Message boxes that are recorded and answered with one button.
class CqFakeMessages : public CqMessageService {
public:
    struct Box {
        std::string m_Text;
        UINT m_nStyle;
        std::optional<std::string> m_Caption;
    };
    std::vector<Box> m_Boxes;
    int m_nAnswer = IDOK;
    std::function<void()> m_OnBox; ///< while the box is open
    bool m_bMemoryFails = false;
    DWORD m_nLastError = 0;
    std::map<DWORD, std::string> m_ErrorTexts;

    int fnShowBox(const char* text, UINT style, const char* caption) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        m_Boxes.push_back(
            {text, style, caption ? std::optional<std::string>(caption) : std::nullopt});
        if (m_OnBox)
            std::exchange(m_OnBox, nullptr)();
        return m_nAnswer;
    }
    DWORD fnGetLastError() override { return m_nLastError; }
    bool fnFormatError(DWORD code, std::string& text) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        const auto found = m_ErrorTexts.find(code);
        if (found == m_ErrorTexts.end())
            return false;
        text = found->second;
        return true;
    }
};

/// Strings by module and number; a null module stands for the host as a whole.
class CqFakeResources : public CqResourceService {
public:
    std::map<std::pair<HINSTANCE, UINT>, std::string> m_Strings;
    bool m_bMemoryFails = false;

    bool fnFind(HINSTANCE, CqResourceId, CqResourceId, CqResourceData&) override { return false; }
    bool fnLoadString(HINSTANCE module, UINT id, std::string& text) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        const auto found = m_Strings.find({module, id});
        if (found == m_Strings.end())
            return false;
        text = found->second;
        return true;
    }
};

/// A double-byte code page if so set: 81h and above begin characters of two bytes.
class CqFakeLocale : public CqLocaleService {
public:
    bool m_bDoubleByte = false;
    bool m_bMemoryFails = false;

    std::size_t fnGetCharBytes(const char* text, std::size_t count) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        return m_bDoubleByte && static_cast<unsigned char>(*text) >= 0x81 && count > 1 ? 2 : 1;
    }
    bool fnFormatDate(const SYSTEMTIME&, std::string&) override { return false; }
    bool fnFormatTime(const SYSTEMTIME&, UINT, std::string&) override { return false; }
    bool fnGetLocalTime(std::int64_t seconds, SYSTEMTIME& time) override {
        if (m_bMemoryFails)
            throw std::bad_alloc();
        time = SYSTEMTIME{};
        time.wSecond = static_cast<WORD>(seconds % 60);
        return true;
    }
};

/// A window without size or messages.
class CqFakeWnd : public CWnd {
public:
    CRect GetClientRect() const override { return {}; }
    LRESULT SendMessage(UINT, WPARAM, LPARAM) override { return 0; }
    void InvalidateRect(const RECT*, bool) override {}
    bool IsWindow() const override { return true; }
};

/// An application with at most one document template.
class CqFakeApp : public CWinApp {
public:
    bool m_bMDI = false;
    std::optional<std::string> m_Title; ///< of the first document template; none: no template
    bool m_bMemoryFails = false;

    bool IsMDI() const override { return m_bMDI; }
    bool GetTemplateTitle(CString& title) const override {
        if (m_bMemoryFails)
            AfxThrowMemoryException();
        title = m_Title ? m_Title->c_str() : "left over";
        return m_Title.has_value();
    }
};

/// Returns the application and main window that a test sets; neither is owned.
class CqFakeWindows : public CqWindowService {
public:
    CWinApp* m_pApp = nullptr;
    CWnd* m_pMainWnd = nullptr;

    CWinApp* fnGetApp() override { return m_pApp; }
    CWnd* fnGetMainWnd() override { return m_pMainWnd; }
};

/// Puts the services in force and removes them again. The platform isn't complete: nothing tested
/// with it needs more.
class CqFakeWorld {
public:
    std::shared_ptr<CqFakeFiles> m_pFiles = std::make_shared<CqFakeFiles>();
    std::shared_ptr<CqFakeMessages> m_pMessages = std::make_shared<CqFakeMessages>();
    std::shared_ptr<CqFakeResources> m_pResources = std::make_shared<CqFakeResources>();
    std::shared_ptr<CqFakeLocale> m_pLocale = std::make_shared<CqFakeLocale>();
    std::shared_ptr<CqFakeWindows> m_pWindows = std::make_shared<CqFakeWindows>();

    CqFakeWorld() {
        CqPlatform platform;
        platform.m_pFiles = m_pFiles;
        platform.m_pMessages = m_pMessages;
        platform.m_pResources = m_pResources;
        platform.m_pLocale = m_pLocale;
        platform.m_pWindows = m_pWindows;
        q32::fnSetPlatform(std::move(platform));
    }
    ~CqFakeWorld() {
        q32::fnClearPlatform();
        q32SetMessageService(nullptr);
    }
    CqFakeWorld(const CqFakeWorld&) = delete;
    CqFakeWorld& operator=(const CqFakeWorld&) = delete;
};
