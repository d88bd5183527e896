#include "platforms/headless/CqHeadlessFiles.h"

#include "platforms/headless/Path_p.h"
#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace {

class Stream final : public CqFileStream {
public:
    Stream(std::shared_ptr<CqHeadlessDisks> disks, const CqFileMode& mode,
           std::shared_ptr<CqHeadlessFiles::StreamCalls> calls)
        : m_pDisks(std::move(disks)), m_Mode(mode), m_pCalls(std::move(calls)) {}
    ~Stream() override {
        if (m_pFile)
            m_pDisks->fnClose(m_pFile);
    }

    void fnTake(CqHeadlessFilePtr file) { m_pFile = std::move(file); }

    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override {
        done = 0;
        if (!m_pFile || !m_Mode.m_bRead)
            return FILE_CAUSE_INVALID;
        if (!m_pCalls->m_Read.fnPass())
            return FILE_CAUSE_HARD_IO;
        const std::uint64_t size = m_pFile->m_Bytes.fnGetSize();
        if (m_nPosition >= size || count == 0)
            return FILE_CAUSE_NONE;
        done = static_cast<std::size_t>(std::min<std::uint64_t>(count, size - m_nPosition));
        std::memcpy(buffer, m_pFile->m_Bytes.fnGetData() + m_nPosition, done);
        m_nPosition += done;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnWrite(const void* buffer, std::size_t count) override {
        if (!m_pFile || !m_Mode.m_bWrite)
            return FILE_CAUSE_INVALID;
        if (!m_pCalls->m_Write.fnPass())
            return FILE_CAUSE_HARD_IO;
        if (count == 0)
            return FILE_CAUSE_NONE;
        if (m_nPosition > ~std::uint64_t{0} - count)
            return FILE_CAUSE_DISK_FULL;
        const std::uint64_t end = m_nPosition + count;
        if (end > m_pFile->m_Bytes.fnGetSize()) {
            const CQ_FILE_CAUSE cause = m_pDisks->fnResize(*m_pFile, end, true);
            if (cause != FILE_CAUSE_NONE)
                return cause;
        }
        std::memcpy(m_pFile->m_Bytes.fnGetData() + m_nPosition, buffer, count);
        m_pDisks->fnTouch(*m_pFile);
        m_nPosition = end;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override {
        if (!m_pFile)
            return FILE_CAUSE_INVALID;
        if (!m_pCalls->m_Seek.fnPass())
            return FILE_CAUSE_HARD_IO;
        m_nPosition = position;
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override {
        if (!m_pFile)
            return FILE_CAUSE_INVALID;
        if (!m_pCalls->m_GetLength.fnPass())
            return FILE_CAUSE_HARD_IO;
        length = m_pFile->m_Bytes.fnGetSize();
        return FILE_CAUSE_NONE;
    }

    CQ_FILE_CAUSE fnClose() override {
        if (!m_pFile)
            return FILE_CAUSE_INVALID;
        // A close that fails still closes the file.
        const bool pass = m_pCalls->m_Close.fnPass();
        const CQ_FILE_CAUSE cause = m_pDisks->fnClose(std::exchange(m_pFile, nullptr));
        return pass ? cause : FILE_CAUSE_HARD_IO;
    }

private:
    std::shared_ptr<CqHeadlessDisks> m_pDisks;
    CqHeadlessFilePtr m_pFile; ///< null until set, and once closed
    CqFileMode m_Mode;
    std::shared_ptr<CqHeadlessFiles::StreamCalls> m_pCalls;
    std::uint64_t m_nPosition = 0;
};

/// Must not outlive the service.
class Replacement final : public CqFileReplacement {
public:
    Replacement(CqHeadlessDisks& disks, CqHeadlessCalls& calls, std::string from, std::string to)
        : m_Disks(disks), m_Calls(calls), m_szFrom(std::move(from)), m_szTo(std::move(to)) {}
    ~Replacement() override {
        const bool stands = m_pStream && !m_bDone;
        m_pStream.reset();
        if (stands)
            q32::fnTryMemory([this] { m_Disks.fnDelete(m_szFrom); });
    }

    const char* fnGetName() const { return m_szFrom.c_str(); }
    void fnTake(std::unique_ptr<CqFileStream> stream) { m_pStream = std::move(stream); }

    CqFileStream& fnGetStream() override { return *m_pStream; }

    CQ_FILE_CAUSE fnCommit() override {
        CQ_FILE_CAUSE cause = m_pStream->fnClose();
        if (cause == FILE_CAUSE_NONE)
            cause = m_Calls.fnPass() ? m_Disks.fnReplace(m_szFrom, m_szTo) : FILE_CAUSE_HARD_IO;
        m_bDone = cause == FILE_CAUSE_NONE;
        return cause;
    }

private:
    CqHeadlessDisks& m_Disks;
    CqHeadlessCalls& m_Calls;
    std::string m_szFrom;
    std::string m_szTo;
    std::unique_ptr<CqFileStream> m_pStream; ///< null until the file is open
    bool m_bDone = false;
};

} // namespace

CqHeadlessFiles::CqHeadlessFiles(std::shared_ptr<CqHeadlessDisks> disks, std::string tempDirectory,
                                 std::string configDirectory)
    : m_pDisks(std::move(disks)), m_szTemp(std::move(tempDirectory)),
      m_szConfig(std::move(configDirectory)) {}

bool CqHeadlessFiles::fnGetTempDirectory(std::string& directory) {
    if (!m_GetTempDirectory.fnPass())
        return false;
    directory = m_szTemp;
    return true;
}

bool CqHeadlessFiles::fnGetConfigDirectory(std::string& directory) {
    if (!m_GetConfigDirectory.fnPass())
        return false;
    directory = m_szConfig;
    return true;
}

bool CqHeadlessFiles::fnExists(const char* path) {
    return m_pDisks->fnIsDirectory(path) || m_pDisks->fnIsFile(path);
}

bool CqHeadlessFiles::fnCreateDirectory(const char* path) {
    return m_CreateDirectory.fnPass() && m_pDisks->fnMakeDirectory(path);
}

std::vector<std::string> CqHeadlessFiles::fnFind(const char* mask) {
    const std::string turned = q32::headless::fnToBackslashes(mask);
    const std::size_t name = turned.rfind('\\') + 1; // 0 for a bare mask
    std::vector<std::string> names = m_pDisks->fnList(turned.substr(0, name));
    std::erase_if(names, [&](const std::string& found) {
        return !q32::headless::fnMatchMask(std::string_view(turned).substr(name), found);
    });
    return names;
}

bool CqHeadlessFiles::fnDelete(const char* name) {
    return m_Delete.fnPass() && m_pDisks->fnDelete(name);
}

bool CqHeadlessFiles::fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) {
    const CqHeadlessFilePtr open = m_pDisks->fnFindOpen(name);
    if (!m_GetInfo.fnPass() || (open && exclusive))
        return false;
    return m_pDisks->fnStat(name, info.m_nSize, info.m_nLastWrite);
}

bool CqHeadlessFiles::fnGetSpace(const char* path, CqDiskSpace& space) {
    return m_GetSpace.fnPass() && *path && m_pDisks->fnGetSpace(path, space);
}

bool CqHeadlessFiles::fnGetClusters(const char* path, CqDiskClusters& clusters) {
    return m_GetClusters.fnPass() && *path && m_pDisks->fnGetClusters(path, clusters);
}

std::unique_ptr<CqFileStream> CqHeadlessFiles::fnOpen(const char* name, const CqFileMode& mode,
                                                      CQ_FILE_CAUSE& cause) {
    if (!m_Open.fnPass()) {
        cause = FILE_CAUSE_GENERIC;
        return nullptr;
    }
    if (mode.m_bNew && fnExists(name)) {
        cause = FILE_CAUSE_ACCESS_DENIED;
        return nullptr;
    }
    // Allocated first: nothing may fail for memory once a file is open or created.
    auto stream = std::make_unique<Stream>(m_pDisks, mode, m_pStream);
    CqHeadlessFilePtr file = m_pDisks->fnOpen(name, mode.m_bCreate, mode.m_bExclusive, cause);
    if (file && mode.m_bCreate)
        cause = m_pDisks->fnResize(*file, 0);
    if (file && cause != FILE_CAUSE_NONE) {
        m_pDisks->fnClose(file);
        file = nullptr;
    }
    if (!file)
        return nullptr;
    stream->fnTake(std::move(file));
    return stream;
}

std::unique_ptr<CqFileReplacement> CqHeadlessFiles::fnOpenReplacement(const char* name,
                                                                      CQ_FILE_CAUSE& cause) {
    constexpr int kMaxNames = 100;
    constexpr CqFileMode kNew{true, true, true, true, true};
    for (int i = 0; i < kMaxNames; ++i) {
        auto made = std::make_unique<Replacement>(
            *m_pDisks, m_Replace, std::string(name) + ".~" + std::to_string(i), name);
        if (auto stream = fnOpen(made->fnGetName(), kNew, cause)) {
            made->fnTake(std::move(stream));
            return made;
        }
        if (!fnExists(made->fnGetName()))
            break;
    }
    return nullptr;
}

bool CqHeadlessFiles::fnReadText(const char* name, std::string& text) {
    if (!m_ReadText.fnPass())
        return false;
    const CqHeadlessFilePtr open = m_pDisks->fnFindOpen(name);
    auto bytes = open && open->m_bUnshared ? std::nullopt : m_pDisks->fnGetFile(name);
    if (bytes)
        text = std::move(*bytes);
    return bytes.has_value();
}

bool CqHeadlessFiles::fnUpdateText(const char* name,
                                   const std::function<bool(std::string& text)>& edit) {
    if (m_pDisks->fnFindOpen(name))
        return false;
    std::string text = m_pDisks->fnGetFile(name).value_or("");
    const std::size_t old = text.size();
    if (!edit(text))
        return true;
    if (!m_UpdateText.fnPass())
        return false;
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    if (text.size() > old && text.size() - old > m_pDisks->fnGetFree(name))
        return false;
    const CqHeadlessFilePtr file = m_pDisks->fnOpen(name, true, true, cause);
    if (!file)
        return false;
    const bool sized = m_pDisks->fnResize(*file, text.size()) == FILE_CAUSE_NONE;
    if (sized && !text.empty())
        std::memcpy(file->m_Bytes.fnGetData(), text.data(), text.size());
    return m_pDisks->fnClose(file) == FILE_CAUSE_NONE && sized;
}
