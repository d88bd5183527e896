#include "platforms/posix/CqPosixScratch_p.h"
#include "platforms/posix/FileAccess_p.h"
#include "platforms/posix/FileSizeSignal_p.h"
#include "platforms/posix/Path_p.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <linux/fs.h>
#include <new>
#include <string_view>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>
#include <vector>

using namespace q32::posix;
using q32::Descriptor;
using q32::fnRetry;

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23 // missing from older C libraries
#endif

namespace {

constexpr int kNameAttempts = 100;
constexpr mode_t kScratchMode = 0600;
constexpr std::size_t kZeroChunk = std::size_t{1} << 20;
constexpr std::size_t kTouchChunk = std::size_t{64} << 20;

enum class Claim { HELD, TAKEN_AWAY, FAILED };

/// Locks a file that was just created. A sweep may come between creation and lock: it then holds
/// the lock or has removed the name.
Claim fnClaim(const char* path, const Descriptor& file) {
    if (!fnTryLock(file, LOCK_EX))
        return errno == EWOULDBLOCK ? Claim::TAKEN_AWAY : Claim::FAILED;
    if (fnIsNameOf(AT_FDCWD, path, file))
        return Claim::HELD;
    return errno == ENOENT || errno == ESTALE ? Claim::TAKEN_AWAY : Claim::FAILED;
}

/// Reserves blocks where the file system has no call for it: by writing zeros, synchronised to
/// disk.
bool fnWriteZeros(const Descriptor& file, std::uint32_t size) {
    const std::vector<char> zeros(std::min<std::size_t>(size, kZeroChunk));
    for (std::size_t at = 0; at < size; at += zeros.size())
        if (!fnWriteAt(file, zeros.data(), std::min(zeros.size(), size - at), at))
            return false;
    return fnRetry([&] { return ::fdatasync(file.fnGet()); }) == 0;
}

/// Lets an empty file on a file system that writes copies (btrfs) be written in place: elsewhere,
/// reserved blocks only serve the first write, and a later one may find the disk full. Compression
/// excludes that, so it is switched off too. Other file systems refuse, and reserve for good.
void fnSwitchOffCopies(const Descriptor& file) {
    int flags = 0;
    if (::ioctl(file.fnGet(), FS_IOC_GETFLAGS, &flags) != 0)
        return;
    const int inPlace = (flags | FS_NOCOW_FL) & ~FS_COMPR_FL;
    if (inPlace != flags)
        ::ioctl(file.fnGet(), FS_IOC_SETFLAGS, &inPlace);
}

bool fnReserveBlocks(const Descriptor& file, std::uint32_t size) {
    const int done = [&] {
        const FileSizeSignal guard;
        return fnRetry([&] { return ::fallocate(file.fnGet(), 0, 0, off_t{size}); });
    }();
    if (done == 0)
        return true;
    return (errno == EOPNOTSUPP || errno == ENOSYS) && fnWriteZeros(file, size);
}

bool fnHasBytes(const Descriptor& file, std::uint32_t size) {
    struct stat facts {};
    return ::fstat(file.fnGet(), &facts) == 0 && facts.st_size >= off_t{size};
}

/// A native path on the stack, for operations that must also work when memory is exhausted.
struct NativeName {
    char m_Path[PATH_MAX];

    /// False for a name that is too long.
    bool fnSet(const CodePage& codePage, const char* name) {
        const std::size_t length = std::strlen(name);
        if (length >= sizeof(m_Path)) {
            errno = ENAMETOOLONG;
            return false;
        }
        std::memcpy(m_Path, name, length + 1);
        fnConvertSlashes(codePage, m_Path, length);
        return true;
    }
};

/// Touches the pages of a new view for writing. False when the disk refuses a page, which would
/// otherwise raise a signal on first access.
/// @param memory  usable memory; 0 for unknown, without a limit
/// @param limit   bytes of views that may be mapped in; 0: no limit
bool fnTouch(char* view, std::size_t bytes, std::uint64_t memory, std::uint64_t limit) {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    // More would only evict other pages, and these zeros with them.
    if (memory != 0)
        bytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, memory / 16 / page * page));
    if (limit != 0)
        bytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, limit / 2 / page * page));
    for (std::size_t at = 0; at < bytes; at += kTouchChunk) {
        const std::size_t part = std::min(bytes - at, kTouchChunk);
        if (fnRetry([&] { return ::madvise(view + at, part, MADV_POPULATE_WRITE); }) != 0)
            return errno == EINVAL; // a kernel without this advice
    }
    return true;
}

/// Bytes of files that are mapped into this process at present; 0 if the system doesn't say.
std::uint64_t fnCountMappedBytes() {
    const Descriptor facts(
        fnRetry([] { return ::open("/proc/self/statm", O_RDONLY | O_CLOEXEC); }));
    char text[128] = {};
    unsigned long long pages = 0;
    if (!facts || fnRetry([&] { return ::read(facts.fnGet(), text, sizeof(text) - 1); }) <= 0 ||
        std::sscanf(text, "%*u %*u %llu", &pages) != 1)
        return 0;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

/// Limit of a view's bytes being written back to disk.
std::size_t fnBehind(std::uint64_t memory) {
    constexpr std::uint64_t kMax = std::uint64_t{64} << 20;
    return static_cast<std::size_t>(std::min(memory / 16, kMax));
}

} // namespace

CqPosixScratch::CqPosixScratch(std::shared_ptr<const CodePage> codePage,
                               std::uint64_t (*usableMemory)(), bool guardViews)
    : m_pCodePage(std::move(codePage)), m_fnUsableMemory(usableMemory), m_bGuardViews(guardViews) {}

std::uint32_t CqPosixScratch::fnNextHandle() {
    do
        ++m_nLastHandle;
    while (m_nLastHandle == kNoMapping || m_nLastHandle == kNoFile ||
           m_Files.count(m_nLastHandle) != 0 || m_Mappings.count(m_nLastHandle) != 0);
    return m_nLastHandle;
}

CqFileHandle CqPosixScratch::fnAddFile(std::shared_ptr<Descriptor> file) {
    return m_Files.emplace(fnNextHandle(), std::move(file)).first->first;
}

bool CqPosixScratch::fnCreateName(const char* directory, const char* prefix, std::string& name) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        std::string candidate = std::string(directory) + prefix + fnRandomDigits() + ".tmp";
        std::string path = fnNativePath(*m_pCodePage, candidate);
        // The entry is made first: after the file's creation, nothing here may fail for memory.
        const auto created = std::make_shared<Descriptor>();
        const auto [place, isNew] = m_Own.try_emplace(path);
        if (!isNew)
            continue;
        Descriptor& file = *created;
        file = Descriptor(fnRetry([&] {
            return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                          kScratchMode);
        }));
        const bool exists = !file && errno == EEXIST;
        const Claim claim = file ? fnClaim(path.c_str(), file) : Claim::FAILED;
        if (claim == Claim::HELD && fnIdentify(created, place->second)) {
            place->second.m_pCreated = created;
            name = std::move(candidate);
            return true;
        }
        if (file && errno != ESTALE) { // then the name is another file's
            const int cause = errno;
            ::unlink(path.c_str());
            errno = cause;
        }
        m_Own.erase(place);
        if (claim != Claim::TAKEN_AWAY && !exists)
            return false;
    }
    return false;
}

/// Records which file it is; false when the system doesn't say.
bool CqPosixScratch::fnIdentify(const std::shared_ptr<Descriptor>& file, OwnFile& own) {
    struct stat facts {};
    if (::fstat(file->fnGet(), &facts) != 0)
        return false;
    own = {nullptr, file, facts.st_dev, facts.st_ino};
    return true;
}

CqFileHandle CqPosixScratch::fnOpen(const char* name) {
    const std::string path = fnNativePath(*m_pCodePage, name);
    const auto created = m_Own.find(path);
    if (created != m_Own.end() && created->second.m_pCreated) {
        if (!fnIsNameOf(AT_FDCWD, path.c_str(), *created->second.m_pCreated)) {
            const int cause = errno;
            m_Own.erase(created);
            errno = cause;
            return kNoFile;
        }
        const CqFileHandle handle = fnAddFile(created->second.m_pCreated);
        created->second.m_pCreated = nullptr;
        return handle;
    }
    const auto file =
        std::make_shared<Descriptor>(fnOpenRegular(path.c_str(), O_RDWR | O_NOFOLLOW));
    struct stat facts {};
    if (!*file || ::fstat(file->fnGet(), &facts) != 0)
        return kNoFile;
    if (facts.st_uid != ::geteuid() || facts.st_nlink != 1) {
        errno = EACCES;
        return kNoFile;
    }
    OwnFile own;
    if (!fnTryLock(*file, LOCK_EX) || !fnIsNameOf(AT_FDCWD, path.c_str(), *file) ||
        !fnIdentify(file, own))
        return kNoFile;
    OwnFile& entry = m_Own[path];
    const CqFileHandle handle = fnAddFile(file);
    entry = std::move(own);
    return handle;
}

bool CqPosixScratch::fnSetSize(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    if (found == m_Files.end())
        return false;
    const Descriptor& open = *found->second;
    const auto setLength = [&](std::uint32_t length) {
        return fnRetry([&] { return ::ftruncate(open.fnGet(), off_t{length}); }) == 0;
    };
    struct stat facts {};
    bool done = ::fstat(open.fnGet(), &facts) == 0;
    if (done && facts.st_size > off_t{size})
        done = setLength(size);
    if (done && facts.st_size == 0)
        fnSwitchOffCopies(open);
    if (done && size != 0)
        done = fnReserveBlocks(open, size);
    if (done)
        return true;
    // File systems keep a partial reservation after a failure.
    const int cause = errno;
    setLength(0);
    errno = cause;
    return false;
}

CqFileHandle CqPosixScratch::fnReopen(CqFileHandle file, const char* name) noexcept {
    auto open = m_Files.extract(file);
    NativeName path;
    if (open.empty() || !path.fnSet(*m_pCodePage, name) ||
        !fnIsNameOf(AT_FDCWD, path.m_Path, *open.mapped()))
        return kNoFile;
    open.key() = fnNextHandle();
    return m_Files.insert(std::move(open)).position->first;
}

void CqPosixScratch::fnClose(CqFileHandle file) noexcept {
    m_Files.erase(file);
}

CqMappingHandle CqPosixScratch::fnCreateMapping(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    if (found == m_Files.end() || size == 0 || !fnHasBytes(*found->second, size))
        return kNoMapping;
    return m_Mappings.emplace(fnNextHandle(), Mapping{found->second, size}).first->first;
}

void CqPosixScratch::fnCloseMapping(CqMappingHandle mapping) noexcept {
    m_Mappings.erase(mapping);
}

void* CqPosixScratch::fnMapView(CqMappingHandle mapping, std::uint32_t size) {
    const auto found = m_Mappings.find(mapping);
    if (found == m_Mappings.end() || size == 0 || size > found->second.m_nSize ||
        !fnHasBytes(*found->second.m_pFile, size))
        return nullptr;
    // Everything that may throw precedes the first resource to release.
    const std::uint64_t memory = m_fnUsableMemory();
    std::map<char*, View> place;
    View& made = place[nullptr];
    auto* const view = static_cast<char*>(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED,
                                                 found->second.m_pFile->fnGet(), 0));
    if (view == MAP_FAILED)
        return nullptr;
    const std::uint64_t limit = m_nViewLimit;
    if (limit == 0)                           // one access would map far more than is used
        ::madvise(view, size, MADV_HUGEPAGE); // advice only: on failure, small pages are used
    ViewGuard guard;
    if (m_bGuardViews)
        guard = ViewGuard(found->second.m_pFile->fnGet(), view, size);
    if ((m_bGuardViews && !guard) || !fnTouch(view, size, memory, limit)) {
        const int cause = errno;
        ::munmap(view, size);
        errno = cause;
        return nullptr;
    }
    made = {found->second.m_pFile, size, nullptr, std::move(guard)};
    auto node = place.extract(place.begin());
    node.key() = view;
    const std::lock_guard lock(m_ViewsLock);
    m_Views.insert(std::move(node));
    m_nMapped += size;
    m_nMemory = memory;
    return view;
}

void CqPosixScratch::fnUnmapView(void* address, std::uint32_t size) noexcept {
    {
        const std::lock_guard lock(m_ViewsLock);
        const auto found = m_Views.find(static_cast<char*>(address));
        if (found != m_Views.end()) {
            m_nMapped -= found->second.m_nSize;
            m_Views.erase(found);
        }
    }
    ::munmap(address, size);
}

/// The view that an address lies in, while most of memory is taken by views; else null. It stays
/// while the caller's image does.
std::pair<char* const, CqPosixScratch::View>*
CqPosixScratch::fnFindCrowdedView(void* address, std::uint64_t& memory) noexcept {
    const std::lock_guard lock(m_ViewsLock);
    memory = m_nMemory;
    if (m_nMemory == 0 || m_nMapped <= m_nMemory / 2)
        return nullptr;
    const auto found = m_Views.upper_bound(static_cast<char*>(address));
    return found == m_Views.begin() ? nullptr : &*std::prev(found);
}

void CqPosixScratch::fnAdvise(CQ_VIEW_ADVICE advice, void* address, std::uint32_t size) noexcept {
    fnTrimViews(); // an operation has gone on by some megabytes
    std::uint64_t memory = 0;
    auto* const found = fnFindCrowdedView(address, memory);
    if (!found)
        return;
    View& view = found->second;
    if (view.m_Guard.fnCountLosses() != 0)
        return; // pages that replace lost ones have no file behind them to be dropped to
    const auto begin = static_cast<std::size_t>(static_cast<char*>(address) - found->first);
    if (!view.m_pPages)
        view.m_pPages.reset(new (std::nothrow) ViewPages(view.m_pFile->fnGet(), found->first,
                                                         view.m_nSize, fnBehind(memory)));
    if (!view.m_pPages)
        return;
    switch (advice) {
    case VIEW_READ_NEXT:
        view.m_pPages->fnReadNext(begin, begin + size);
        break;
    case VIEW_WRITE_NEXT:
        view.m_pPages->fnWriteNext(begin, begin + size);
        break;
    case VIEW_DONE:
        view.m_pPages->fnDone(begin, begin + size);
        break;
    }
}

std::uint32_t CqPosixScratch::fnCountLosses(const void* address) noexcept {
    if (!m_bGuardViews || !ViewGuard::fnIsAnyLost())
        return 0;
    const std::lock_guard lock(m_ViewsLock);
    const auto found = m_Views.find(static_cast<char*>(const_cast<void*>(address)));
    return found == m_Views.end() ? 0 : found->second.m_Guard.fnCountLosses();
}

void CqPosixScratch::fnTrimViews() noexcept {
    const std::uint64_t limit = m_nViewLimit;
    if (limit == 0)
        return;
    const int cause = errno;
    if (fnCountMappedBytes() > limit) {
        const std::lock_guard lock(m_ViewsLock);
        for (const auto& [address, view] : m_Views)
            if (view.m_Guard.fnCountLosses() == 0) // else pages have no file behind them
                ::madvise(address, view.m_nSize, MADV_DONTNEED);
    }
    errno = cause;
}

bool CqPosixScratch::fnDelete(const char* name) noexcept {
    NativeName path;
    if (!path.fnSet(*m_pCodePage, name))
        return false;
    const auto found = m_Own.find(std::string_view(path.m_Path));
    if (found == m_Own.end())
        return fnRemoveUnheld(AT_FDCWD, path.m_Path);
    OwnFile& own = found->second;
    own.m_pCreated = nullptr;
    if (!own.m_pOpen.expired()) {
        errno = EWOULDBLOCK;
        return false;
    }
    struct stat facts {};
    const bool isOwn = ::fstatat(AT_FDCWD, path.m_Path, &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
                       facts.st_dev == own.m_nDevice && facts.st_ino == own.m_nNumber;
    m_Own.erase(found);
    return isOwn ? ::unlink(path.m_Path) == 0 : fnRemoveUnheld(AT_FDCWD, path.m_Path);
}
