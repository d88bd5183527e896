#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/headless/CqHeadlessDisks.h"
#include "q32Base/platform/Export.h"

#include <memory>
#include <string>

/// Ordinary files on the disks of the headless world. A call that a counter makes fail reports that
/// as any other failure, and has no effect.
class Q32_API CqHeadlessFiles final : public CqFileService {
public:
    /// The directories as the service reports them; they need not exist.
    CqHeadlessFiles(std::shared_ptr<CqHeadlessDisks> disks, std::string tempDirectory,
                    std::string configDirectory);

    CqHeadlessCalls m_GetTempDirectory;   ///< calls of `fnGetTempDirectory`
    CqHeadlessCalls m_GetConfigDirectory; ///< calls of `fnGetConfigDirectory`
    CqHeadlessCalls m_CreateDirectory;    ///< calls of `fnCreateDirectory`
    CqHeadlessCalls m_Delete;             ///< calls of `fnDelete`
    CqHeadlessCalls m_GetInfo;            ///< calls of `fnGetInfo`
    CqHeadlessCalls m_GetSpace;           ///< calls of `fnGetSpace`
    CqHeadlessCalls m_GetClusters;        ///< calls of `fnGetClusters`
    CqHeadlessCalls m_Open;       ///< fails with FILE_CAUSE_GENERIC; by name: CqHeadlessDisks
    CqHeadlessCalls m_Replace;    ///< commits of replacements; fails with FILE_CAUSE_HARD_IO
    CqHeadlessCalls m_ReadText;   ///< calls of `fnReadText`
    CqHeadlessCalls m_UpdateText; ///< replacements by `fnUpdateText`, once the text is edited

    /// Calls of all streams; shared with them, because a stream may outlive the service. A failure
    /// has the cause FILE_CAUSE_HARD_IO.
    struct StreamCalls {
        CqHeadlessCalls m_Read;      ///< of an open file
        CqHeadlessCalls m_Write;     ///< of an open file
        CqHeadlessCalls m_Seek;      ///< of an open file
        CqHeadlessCalls m_GetLength; ///< of an open file
        CqHeadlessCalls m_Close;     ///< a failed one closes the file all the same
    };
    const std::shared_ptr<StreamCalls> m_pStream = std::make_shared<StreamCalls>(); ///< never null

    /// Whether the wide free space query is available; true initially.
    void fnSetWideSpaceQuery(bool wide) { m_bWide = wide; }
    /// Set the directories as the service reports them, unchanged; they need not exist.
    void fnSetTempDirectory(std::string directory) { m_szTemp = std::move(directory); }
    void fnSetConfigDirectory(std::string directory) { m_szConfig = std::move(directory); }
    /// The directory of the settings, also while its query is set to fail.
    const std::string& fnGetConfiguredDirectory() const { return m_szConfig; }

    bool fnGetTempDirectory(std::string& directory) override;
    bool fnGetConfigDirectory(std::string& directory) override;
    bool fnExists(const char* path) override;
    bool fnCreateDirectory(const char* path) override;
    std::vector<std::string> fnFind(const char* mask) override;
    bool fnDelete(const char* name) override;
    bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) override;
    bool fnHasWideSpaceQuery() override { return m_bWide; }
    bool fnGetSpace(const char* path, CqDiskSpace& space) override;
    bool fnGetClusters(const char* path, CqDiskClusters& clusters) override;
    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override;
    /// @copydoc CqFileService::fnOpenReplacement
    ///
    /// The new file is called like the other one, with ".~0" to ".~99" appended.
    std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char* name,
                                                         CQ_FILE_CAUSE& cause) override;
    bool fnReadText(const char* name, std::string& text) override;

    bool fnUpdateText(const char* name,
                      const std::function<bool(std::string& text)>& edit) override;

private:
    std::shared_ptr<CqHeadlessDisks> m_pDisks;
    std::string m_szTemp;
    std::string m_szConfig;
    bool m_bWide = true;
};
