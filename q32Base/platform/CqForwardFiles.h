#pragma once

#include "q32Base/platform/CqFileService.h"

#include <memory>
#include <utility>

/// A file service that passes every call on to another one: the base of a service that does only
/// some things itself, such as opening files from an archive.
class CqForwardFiles : public CqFileService {
public:
    /// `other` must not be null.
    explicit CqForwardFiles(std::shared_ptr<CqFileService> other) : m_pOther(std::move(other)) {}

    bool fnGetTempDirectory(std::string& directory) override {
        return m_pOther->fnGetTempDirectory(directory);
    }
    bool fnGetConfigDirectory(std::string& directory) override {
        return m_pOther->fnGetConfigDirectory(directory);
    }
    bool fnExists(const char* path) override { return m_pOther->fnExists(path); }
    bool fnCreateDirectory(const char* path) override { return m_pOther->fnCreateDirectory(path); }
    std::vector<std::string> fnFind(const char* mask) override { return m_pOther->fnFind(mask); }
    bool fnDelete(const char* name) override { return m_pOther->fnDelete(name); }
    bool fnGetInfo(const char* name, bool exclusive, CqFileInfo& info) override {
        return m_pOther->fnGetInfo(name, exclusive, info);
    }
    bool fnHasWideSpaceQuery() override { return m_pOther->fnHasWideSpaceQuery(); }
    bool fnGetSpace(const char* path, CqDiskSpace& space) override {
        return m_pOther->fnGetSpace(path, space);
    }
    bool fnGetClusters(const char* path, CqDiskClusters& clusters) override {
        return m_pOther->fnGetClusters(path, clusters);
    }
    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override {
        return m_pOther->fnOpen(name, mode, cause);
    }
    std::unique_ptr<CqFileReplacement> fnOpenReplacement(const char* name,
                                                         CQ_FILE_CAUSE& cause) override {
        return m_pOther->fnOpenReplacement(name, cause);
    }
    bool fnReadText(const char* name, std::string& text) override {
        return m_pOther->fnReadText(name, text);
    }
    bool fnUpdateText(const char* name,
                      const std::function<bool(std::string& text)>& edit) override {
        return m_pOther->fnUpdateText(name, edit);
    }

protected:
    const std::shared_ptr<CqFileService> m_pOther; ///< receives the calls
};
