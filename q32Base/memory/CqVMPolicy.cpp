#include "q32Base/memory/CqVMPolicy.h"

#include "q32Base/framework/DiskSpace_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/memory/CqVMPolicy_p.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/settings/Settings_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string>

namespace {

CqVMPolicy* thePolicy = nullptr; ///< in force

std::uint32_t fnPhysicalBytes() {
    return static_cast<std::uint32_t>(q32::fnPlatform().m_pMemory->fnGetPhysicalBytes());
}

/// Copies a path if it fits; otherwise leaves `target` as it is.
void fnStorePath(char (&target)[kMaxPathBytes], const char* path) {
    const std::size_t length = std::strlen(path);
    if (length < sizeof(target))
        std::memcpy(target, path, length + 1);
}

void fnStoreTempPath(char (&target)[kMaxPathBytes]) {
    std::string directory;
    if (q32::fnPlatform().m_pFiles->fnGetTempDirectory(directory))
        fnStorePath(target, directory.c_str());
}

} // namespace

CqVMPolicy::CqVMPolicy()
    : DiskFlags{true, false, false, false}, DiskPaths{}, AnyDiskEnabled(true), MemPercent(100),
      MemEnabled(false), RamLimit(fnPhysicalBytes()), RamUsed(0),
      m_nRamBound(q32::fnPlatform().m_pMemory->fnGetBlockLimit()) {
    q32::fnGuardMemory([this] { fnStoreTempPath(DiskPaths[0]); });
}

void CqVMPolicy::fnGetDiskFreeSpace(unsigned int index, ULARGE_INTEGER& space) const {
    assert(index < kDisks);
    space.QuadPart = 0;
    CqDiskSpace found;
    q32::fnGetDiskSpace(DiskPaths[index], true, found);
    space.QuadPart = found.m_nAvailable;
}

void CqVMPolicy::fnSetDisk(unsigned int index, const char* path) {
    assert(index < kDisks);
    if (!path || !*path) {
        DiskPaths[index][0] = 0;
        DiskFlags[index] = false;
        return;
    }
    CString ended(path);
    q32::fnAppendSlash(ended);
    fnStorePath(DiskPaths[index], ended);
}

void CqVMPolicy::fnEnableDisk(unsigned int index, bool enable) {
    assert(index < kDisks);
    DiskFlags[index] = enable;
    AnyDiskEnabled = std::find(DiskFlags, DiskFlags + kDisks, true) != DiskFlags + kDisks;
}

bool CqVMPolicy::fnSerialize(bool read) {
    return read ? fnReadSettings() : fnWriteSettings();
}

bool CqVMPolicy::fnReadSettings() {
    AnyDiskEnabled = false;
    for (unsigned int i = 0; i < kDisks; ++i) {
        fnReadDisk(i);
        AnyDiskEnabled |= DiskFlags[i];
    }
    const auto percent = q32::fnReadSettingNumber(q32::STRING_SECTION_VM_POLICY,
                                                  q32::STRING_KEY_MEM_PERCENT, q32::kSettingBytes);
    if (percent)
        MemPercent = static_cast<std::uint32_t>(*percent);
    const auto enabled = q32::fnReadSettingNumber(q32::STRING_SECTION_VM_POLICY,
                                                  q32::STRING_KEY_MEM_ENABLED, q32::kSettingBytes);
    if (enabled)
        MemEnabled = *enabled == 1;
    // Deliberate: the product wraps at 32 bits before the division, at 100 percent too.
    const std::uint32_t product = (MemEnabled ? MemPercent : 100u) * fnPhysicalBytes();
    RamLimit = product / 100;
    CqMemoryService& memory = *q32::fnPlatform().m_pMemory;
    m_nRamBound = memory.fnGetBlockLimit();
    if (MemEnabled) // the user's percentage holds, too, where the sum with a block wraps
        m_nRamBound = std::min(m_nRamBound, memory.fnGetPhysicalBytes() / 100 * MemPercent);
    fnTrimHeld();
    return true;
}

/// When memory runs out, the disk keeps its path and flag.
void CqVMPolicy::fnReadDisk(unsigned int index) {
    const bool enabled = DiskFlags[index];
    if (!q32::fnTryMemory([&] { fnTakeDisk(index); }))
        DiskFlags[index] = enabled;
}

void CqVMPolicy::fnTakeDisk(unsigned int index) {
    const auto flag = q32::fnReadSettingNumber(
        q32::STRING_SECTION_VM_POLICY, q32::STRING_KEY_SCRATCH_FLAG + index, q32::kSettingBytes);
    if (flag)
        DiskFlags[index] = *flag == 1;
    char path[kMaxPathBytes];
    const std::size_t length =
        q32::fnReadSetting(q32::STRING_SECTION_VM_POLICY, q32::STRING_KEY_SCRATCH_PATH + index, "",
                           path, sizeof(path));
    if (length > 0 || index > 0)
        fnSetDisk(index, path);
    else
        fnStoreTempPath(DiskPaths[0]);
}

bool CqVMPolicy::fnWriteSettings() const {
    using namespace q32;
    for (unsigned int i = 0; i < kDisks; ++i) {
        if (!fnWriteSetting(STRING_SECTION_VM_POLICY, STRING_KEY_SCRATCH_FLAG + i, DiskFlags[i]) ||
            !fnWriteSetting(STRING_SECTION_VM_POLICY, STRING_KEY_SCRATCH_PATH + i, DiskPaths[i]))
            return false;
    }
    return fnWriteSetting(STRING_SECTION_VM_POLICY, STRING_KEY_MEM_PERCENT,
                          static_cast<int>(MemPercent)) &&
           fnWriteSetting(STRING_SECTION_VM_POLICY, STRING_KEY_MEM_ENABLED, MemEnabled);
}

void CqVMPolicy::fnSetRamLimit(std::uint64_t bytes) {
    RamLimit = static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes, UINT32_MAX));
    m_nRamBound = bytes;
    fnTrimHeld();
}

std::uint32_t CqVMPolicy::fnGetRamUsed() const {
    const CSingleLock lock(m_Lock);
    return RamUsed;
}

std::uint64_t CqVMPolicy::fnGetRamBytes() const {
    const CSingleLock lock(m_Lock);
    return m_nRamBytes;
}

bool CqVMPolicy::fnFitsRam(std::uint64_t size) const {
    const CSingleLock lock(m_Lock);
    return size <= m_nRamBound && m_nRamBytes <= m_nRamBound - size;
}

/// The RAM limit of 32 bits, or of 64 where those are all set.
std::uint64_t CqVMPolicy::fnGetEffectiveLimit() const {
    return RamLimit == UINT32_MAX ? m_nRamBound : std::min<std::uint64_t>(RamLimit, m_nRamBound);
}

std::uint64_t CqVMPolicy::fnGetHeldLimit() const {
    return m_nHeldLimit.value_or(fnGetEffectiveLimit() / 4);
}

void CqVMPolicy::fnSetHeldLimit(std::uint64_t bytes) {
    m_nHeldLimit = bytes;
    fnTrimHeld();
}

std::uint64_t CqVMPolicy::fnGetHeldBytes() const {
    return q32::fnPlatform().m_pMemory->fnGetHeldBytes();
}

void CqVMPolicy::fnReleaseHeld() {
    q32::fnPlatform().m_pMemory->fnTrimHeld(0);
}

std::uint64_t CqVMPolicy::fnGetHeldRoom(std::uint64_t size) const {
    const CSingleLock lock(m_Lock);
    const std::uint64_t limit = fnGetEffectiveLimit();
    const std::uint64_t used = m_nRamBytes + size;
    return std::min(fnGetHeldLimit(), limit > used ? limit - used : 0);
}

void CqVMPolicy::fnTrimHeld() const {
    q32::fnPlatform().m_pMemory->fnTrimHeld(fnGetHeldRoom());
}

void CqVMPolicy::fnConsumeRAM(unsigned long size) {
    RamUsed += static_cast<std::uint32_t>(size);
    m_nRamBytes += size;
}

void CqVMPolicy::fnReleaseRAM(unsigned long size) {
    RamUsed -= static_cast<std::uint32_t>(size);
    m_nRamBytes -= std::min<std::uint64_t>(size, m_nRamBytes);
}

CqDiskUsage CqVMPolicy::fnGetDiskUsage(unsigned int index) const {
    assert(index < kDisks);
    const CSingleLock lock(m_Lock);
    CqDiskUsage usage;
    const std::size_t length = std::strlen(DiskPaths[index]);
    for (POSITION at = m_ScratchFiles.GetHeadPosition(); at;) {
        const NotedFile& file = m_ScratchFiles.GetNext(at);
        const char* name = file.m_strName;
        if (length == 0 || std::strncmp(name, DiskPaths[index], length) != 0 ||
            std::strchr(name + length, '\\'))
            continue;
        usage.m_nBytes += file.m_nSize;
        ++usage.m_nFiles;
    }
    return usage;
}

bool CqVMPolicy::fnHasRoom(unsigned int index, std::uint32_t size) const {
    const CString root = q32::fnSplitRootName(DiskPaths[index]);
    CqDiskSpace space;
    return q32::fnGetDiskSpace(root, false, space) && space.m_nAvailable > size;
}

bool CqVMPolicy::fnSearchAvail(unsigned long size, bool allowRam, CString& path) {
    const auto size32 = static_cast<std::uint32_t>(size);
    path.Empty();
    if (allowRam && static_cast<std::uint32_t>(RamUsed + size32) <= RamLimit)
        return true;
    return q32::fnTryMemory([&] {
        CqFileService& files = *q32::fnPlatform().m_pFiles;
        for (unsigned int i = 0; i < kDisks; ++i) {
            if (!DiskFlags[i] || !DiskPaths[i][0] || !fnHasRoom(i, size32))
                continue;
            if (!files.fnExists(DiskPaths[i]) && !files.fnCreateDirectory(DiskPaths[i]))
                return false; // deliberate: no later disk is tried
            path = DiskPaths[i];
            return true;
        }
        return false;
    });
}

void CqVMPolicy::fnDeleteVMFiles() {
    q32::fnGuardMemory([this] {
        CqFileService& files = *q32::fnPlatform().m_pFiles;
        for (const auto& path : DiskPaths) {
            if (!path[0])
                continue;
            const std::string mask = std::string(path) + q32::fnFindString(q32::STRING_TEMP_MASK);
            for (const std::string& name : files.fnFind(mask.c_str()))
                files.fnDelete(name.c_str());
        }
    });
}

void CqVMPolicy::fnNoteScratchFile(const CString& name, std::uint32_t size) {
    m_ScratchFiles.AddTail({name, size});
}

void CqVMPolicy::fnForgetScratchFile(const CString& name) {
    for (POSITION at = m_ScratchFiles.GetHeadPosition(); at;) {
        const POSITION here = at;
        if (m_ScratchFiles.GetNext(at).m_strName == name) {
            m_ScratchFiles.RemoveAt(here);
            return;
        }
    }
    assert(false && "a scratch file that was never noted");
}

CqVMPolicy* q32GetVMPolicy() {
    return thePolicy;
}

void q32::fnSetVMPolicy(CqVMPolicy* policy) {
    thePolicy = policy;
}
