#pragma once

#include "platforms/common/Descriptor_p.h"
#include "platforms/posix/CodePage_p.h"
#include "platforms/posix/MemoryLimit_p.h"
#include "platforms/posix/ViewGuard_p.h"
#include "platforms/posix/ViewPages_p.h"
#include "q32Base/platform/CqScratchService.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <utility>

/// Scratch files on real disks (docs/scratch-files.md).
///
/// A file has one descriptor throughout its life, with a lock that marks the file as in use.
/// Handles and mappings share the descriptor, so the lock is released with the last of them; when
/// the process dies, the system releases it. A forked child that doesn't execute another program
/// shares the lock too, and so keeps the file safe from a sweep; each of them can delete it.
class CqPosixScratch : public CqScratchService {
public:
    /// @param usableMemory  returns how many bytes the process may use; 0 when unknown
    /// @param guardViews    whether lost pages become zeros; needs `ViewGuard::fnInstall`
    explicit CqPosixScratch(std::shared_ptr<const q32::posix::CodePage> codePage,
                            std::uint64_t (*usableMemory)() = q32::posix::fnUsableMemory,
                            bool guardViews = false);

    bool fnCreateName(const char* directory, const char* prefix, std::string& name) override;
    /// Takes over the file created by `fnCreateName`, which is still locked. Any other name is
    /// opened if it is a file owned by the caller that nobody has locked.
    CqFileHandle fnOpen(const char* name) override;
    bool fnSetSize(CqFileHandle file, std::uint32_t size) override;
    /// Keeps descriptor and lock, so that no one else can get the file in between; the name must
    /// still be the file's own. The number of the handle is a new one.
    CqFileHandle fnReopen(CqFileHandle file, const char* name) noexcept override;
    void fnClose(CqFileHandle file) noexcept override;
    CqMappingHandle fnCreateMapping(CqFileHandle file, std::uint32_t size) override;
    void fnCloseMapping(CqMappingHandle mapping) noexcept override;
    /// Maps with large pages where the file system supports them, unless views are limited, and
    /// touches the pages, up to a sixteenth of the usable memory, if known, and half of the limit.
    /// A disk error at that point is a failure here, not a signal at a later write.
    void* fnMapView(CqMappingHandle mapping, std::uint32_t size) override;
    void fnUnmapView(void* address, std::uint32_t size) noexcept override;
    /// Trims the views. The rest has an effect only when all views together exceed half of the
    /// usable memory; otherwise the system's own paging is better.
    void fnAdvise(CQ_VIEW_ADVICE advice, void* address, std::uint32_t size) noexcept override;
    std::uint32_t fnCountLosses(const void* address) noexcept override;
    /// As `q32PosixLimitViews` and `q32PosixTrimViews`.
    void fnLimitViews(std::uint64_t bytes) noexcept { m_nViewLimit = bytes; }
    void fnTrimViews() noexcept;
    /// Fails for a file in use: of this service as long as one of its handles is open, and of
    /// others as long as it is locked. A file of this service is known by its device and number, so
    /// that a lock which a forked child shares doesn't keep it.
    bool fnDelete(const char* name) noexcept override;

private:
    struct Mapping {
        std::shared_ptr<q32::Descriptor> m_pFile;
        std::uint32_t m_nSize = 0;
    };

    struct View {
        std::shared_ptr<q32::Descriptor> m_pFile;
        std::uint32_t m_nSize = 0;
        std::unique_ptr<q32::posix::ViewPages> m_pPages;
        q32::posix::ViewGuard m_Guard;
    };

    /// A file that this service created or opened, until it is deleted.
    struct OwnFile {
        std::shared_ptr<q32::Descriptor> m_pCreated; ///< null once it is opened
        std::weak_ptr<q32::Descriptor> m_pOpen;      ///< expired once nothing uses it
        dev_t m_nDevice = 0;
        ino_t m_nNumber = 0;
    };

    std::uint32_t fnNextHandle();
    CqFileHandle fnAddFile(std::shared_ptr<q32::Descriptor> file);
    static bool fnIdentify(const std::shared_ptr<q32::Descriptor>& file, OwnFile& own);

    std::shared_ptr<const q32::posix::CodePage> m_pCodePage;
    std::uint64_t (*m_fnUsableMemory)();
    bool m_bGuardViews;
    std::pair<char* const, View>* fnFindCrowdedView(void* address, std::uint64_t& memory) noexcept;

    std::map<std::string, OwnFile, std::less<>> m_Own; ///< by native path
    std::map<CqFileHandle, std::shared_ptr<q32::Descriptor>> m_Files;
    std::map<CqMappingHandle, Mapping> m_Mappings;
    std::mutex m_ViewsLock;        ///< of the next three, which advice in another thread reads
    std::map<char*, View> m_Views; ///< by address
    std::uint64_t m_nMapped = 0;   ///< bytes of all views
    std::uint64_t m_nMemory = 0;   ///< usable memory when the last view was created; 0: unknown
    std::atomic<std::uint64_t> m_nViewLimit = 0; ///< bytes mapped in at a time; 0: no limit
    std::uint32_t m_nLastHandle = 0;
};
