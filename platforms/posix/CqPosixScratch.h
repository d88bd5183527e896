#pragma once

#include "platforms/posix/CodePage.h"
#include "platforms/posix/Descriptor.h"
#include "platforms/posix/MemoryLimit.h"
#include "platforms/posix/ViewPages.h"
#include "q32Base/platform/CqScratchService.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

/// Scratch files on real disks (docs/scratch-files.md).
///
/// A file has one descriptor from its creation to its end, and on it a lock that others see: the
/// mark of a file in use. A handle or a mapping shares the descriptor, so the lock falls with the
/// last of them; when the process dies, the system drops it. A forked child that does not start
/// another program shares the lock too, and with it the use of the file.
class CqPosixScratch : public CqScratchService {
public:
    /// @param usableMemory  tells how many bytes the process may use; 0 when nobody knows
    explicit CqPosixScratch(std::shared_ptr<const q32::posix::CodePage> codePage,
                            std::uint64_t (*usableMemory)() = q32::posix::fnUsableMemory);

    bool fnCreateName(const char* directory, const char* prefix, std::string& name) override;
    /// Takes over the file that `fnCreateName` made and still holds. Any other name is opened
    /// afresh, if it is an unheld file of the caller's own.
    CqFileHandle fnOpen(const char* name) override;
    bool fnSetSize(CqFileHandle file, std::uint32_t size) override;
    /// Keeps descriptor and lock, so that nobody comes in between; the name must still be the
    /// file's own. The number of the handle is a new one.
    CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept override;
    void fnClose(CqFileHandle file) noexcept override;
    CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) override;
    void fnCloseMapping(CqMappingHandle mapping) noexcept override;
    /// Maps with large pages where the file system has them, and touches the pages, up to a
    /// sixteenth of the memory that the process may use, if that is known. A disk that fails at
    /// that is a failure here, not a signal at a later write.
    void* fnMapView(CqMappingHandle mapping, std::uint32_t size) override;
    void fnUnmapView(void* address, std::uint32_t size) noexcept override;
    /// Followed when all views together are larger than half of the memory that the process may
    /// use. Else pages are better left where they are.
    void fnAdvise(CQ_VIEW_ADVICE advice, void* address, std::uint32_t size) noexcept override;
    /// A file that somebody uses is refused.
    bool fnDelete(const char* name) noexcept override;

private:
    struct Mapping {
        std::shared_ptr<q32::posix::Descriptor> m_pFile;
        std::uint32_t m_nSize = 0;
    };

    struct View {
        std::shared_ptr<q32::posix::Descriptor> m_pFile;
        std::uint32_t m_nSize = 0;
        std::unique_ptr<q32::posix::ViewPages> m_pPages;
    };

    std::uint32_t fnNextHandle();
    CqFileHandle fnAddFile(std::shared_ptr<q32::posix::Descriptor> file);

    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
    std::uint64_t (*m_fnUsableMemory)();
    std::map<std::string, q32::posix::Descriptor, std::less<>>
        m_Created; ///< named but not yet opened, by native path
    std::map<CqFileHandle, std::shared_ptr<q32::posix::Descriptor>> m_Files;
    std::map<CqMappingHandle, Mapping> m_Mappings;
    std::map<char*, View> m_Views; ///< by address
    std::uint64_t m_nMapped = 0;   ///< bytes of all views
    std::uint64_t m_nMemory = 0;   ///< usable when the last view was made; 0: not known
    std::uint32_t m_nLastHandle = 0;
};
