#pragma once

#include "platforms/win32/CodePage_p.h"
#include "platforms/win32/Handle_p.h"
#include "q32Base/platform/CqScratchService.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

/// Scratch files of the system.
///
/// A file that this service creates is open to nobody else from its creation to its deletion, by
/// one handle, which the service keeps and which all handles and mappings of the library share. The
/// system deletes the file with that handle, also when the process is killed.
class CqWin32Scratch : public CqScratchService {
public:
    explicit CqWin32Scratch(std::shared_ptr<const q32::win32::CodePage> codePage);

    bool fnCreateName(const char* directory, const char* prefix, std::string& name) override;
    /// Any other file than one of `fnCreateName` is opened if nobody else has it open, and it has
    /// no second name.
    CqFileHandle fnOpen(const char* name) override;
    /// Where the file system reserves fewer bytes than that by itself (compressed, sparse and some
    /// remote ones), zeros are written.
    bool fnSetSize(CqFileHandle file, std::uint32_t size) override;
    /// Keeps the system's handle, so that no one else can get the file in between. The number of
    /// the handle is a new one.
    CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept override;
    void fnClose(CqFileHandle file) noexcept override;
    CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) override;
    void fnCloseMapping(CqMappingHandle mapping) noexcept override;
    void* fnMapView(CqMappingHandle mapping, std::uint32_t size) override;
    void fnUnmapView(void* address, std::uint32_t size) noexcept override;
    /// Fails for a file in use: of this service as long as one of its handles or mappings is open,
    /// and of others as long as somebody has it open.
    bool fnDelete(const char* name) noexcept override;

private:
    using File = std::shared_ptr<q32::win32::Handle>;

    struct Mapping {
        File m_pFile;
        q32::win32::Handle m_Section;
        std::uint32_t m_nSize = 0;
    };

    /// Orders paths as the system does: not case-sensitive.
    struct PathOrder {
        using is_transparent = void;
        bool operator()(std::wstring_view a, std::wstring_view b) const;
    };

    std::uint32_t fnNextHandle();

    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    std::map<std::wstring, File, PathOrder> m_Created; ///< until deleted, by native path
    std::map<CqFileHandle, File> m_Files;
    std::map<CqMappingHandle, Mapping> m_Mappings;
    std::uint32_t m_nLastHandle = 0;
};
