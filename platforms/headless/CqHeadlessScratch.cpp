#include "platforms/headless/CqHeadlessScratch.h"

#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>

CqHeadlessScratch::CqHeadlessScratch(std::shared_ptr<CqHeadlessDisks> disks,
                                     std::shared_ptr<CqHeadlessMisuses> misuses)
    : m_pDisks(std::move(disks)), m_pMisuses(std::move(misuses)) {}

CqHeadlessScratch::~CqHeadlessScratch() {
    // The disks may outlive this: open uses end here, as with a process.
    for (const auto& [address, view] : m_Views)
        fnDropView(view.m_pFile);
    for (const auto& [handle, mapping] : m_Mappings)
        fnDropView(mapping.m_pFile);
    for (const auto& [handle, file] : m_Files)
        m_pDisks->fnClose(file);
}

bool CqHeadlessScratch::fnCreateName(const char* directory, const char* prefix, std::string& name) {
    if (!m_CreateName.fnPass() || !m_pDisks->fnIsDirectory(directory))
        return false;
    for (;;) {
        char number[16];
        std::snprintf(number, sizeof(number), "%X", m_nNextName++);
        const std::string tried = std::string(directory) + prefix + number + ".tmp";
        if (m_pDisks->fnIsFile(tried) || m_pDisks->fnIsDirectory(tried))
            continue;
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const CqHeadlessFilePtr file = m_pDisks->fnOpen(tried, true, true, cause);
        if (!file || m_pDisks->fnClose(file) != FILE_CAUSE_NONE)
            return false;
        name = tried;
        return true;
    }
}

CqFileHandle CqHeadlessScratch::fnOpenHandle(const char* name) {
    // The entry is allocated first, so that nothing is open if there is no memory for it.
    decltype(m_Files) opened;
    CqHeadlessFilePtr& file = opened[m_nNextHandle];
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    file = m_pDisks->fnOpen(name, false, true, cause);
    if (!file)
        return kNoFile;
    m_Files.merge(opened);
    return m_nNextHandle++;
}

bool CqHeadlessScratch::fnCloseHandle(CqFileHandle file, const char* misuse) {
    const auto found = m_Files.find(file);
    if (found == m_Files.end()) {
        m_pMisuses->fnAdd(misuse);
        return false;
    }
    m_pDisks->fnClose(found->second);
    m_Files.erase(found);
    return true;
}

CqFileHandle CqHeadlessScratch::fnOpen(const char* name) {
    return m_Open.fnPass() ? fnOpenHandle(name) : kNoFile;
}

bool CqHeadlessScratch::fnSetSize(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    if (found == m_Files.end()) {
        m_pMisuses->fnAdd("sizing of a file that isn't open");
        return false;
    }
    return m_SetSize.fnPass() && m_pDisks->fnResize(*found->second, size) == FILE_CAUSE_NONE;
}

CqFileHandle CqHeadlessScratch::fnReopen(CqFileHandle file, const char* name) noexcept {
    const auto found = m_Files.find(file);
    const CqHeadlessFilePtr old = found == m_Files.end() ? nullptr : found->second;
    if (!fnCloseHandle(file, "reopening of a file that isn't open") || !m_Reopen.fnPass())
        return kNoFile;
    return q32::fnTryMemoryOr(CqFileHandle{kNoFile}, [&]() -> CqFileHandle {
        const CqFileHandle handle = fnOpenHandle(name);
        if (handle == kNoFile || m_Files[handle]->m_szName == old->m_szName)
            return handle;
        fnCloseHandle(handle, "");
        return kNoFile;
    });
}

void CqHeadlessScratch::fnClose(CqFileHandle file) noexcept {
    fnCloseHandle(file, "closing of a file that isn't open");
}

CqMappingHandle CqHeadlessScratch::fnCreateMapping(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    if (found == m_Files.end()) {
        m_pMisuses->fnAdd("mapping of a file that isn't open");
        return kNoMapping;
    }
    const CqHeadlessFilePtr& mapped = found->second;
    if (!m_CreateMapping.fnPass() || size == 0 || size > mapped->m_Bytes.fnGetSize())
        return kNoMapping;
    const CqMappingHandle handle = m_nNextHandle++;
    m_Mappings.emplace(handle, Mapping{mapped, size});
    ++mapped->m_nUsers;
    ++mapped->m_nViews;
    return handle;
}

void CqHeadlessScratch::fnDropView(const CqHeadlessFilePtr& file) {
    --file->m_nViews;
    m_pDisks->fnTouch(*file);
    m_pDisks->fnClose(file);
}

void CqHeadlessScratch::fnCloseMapping(CqMappingHandle mapping) noexcept {
    const auto found = m_Mappings.find(mapping);
    if (found == m_Mappings.end()) {
        m_pMisuses->fnAdd("closing of a mapping that isn't open");
        return;
    }
    fnDropView(found->second.m_pFile);
    m_Mappings.erase(found);
}

void* CqHeadlessScratch::fnMapView(CqMappingHandle mapping, std::uint32_t size) {
    const auto found = m_Mappings.find(mapping);
    if (found == m_Mappings.end()) {
        m_pMisuses->fnAdd("view of a mapping that isn't open");
        return nullptr;
    }
    const CqHeadlessFilePtr& file = found->second.m_pFile;
    if (!m_MapView.fnPass() || size != found->second.m_nSize)
        return nullptr;
    void* address = file->m_Bytes.fnGetData();
    m_Views.emplace(address, found->second);
    ++file->m_nUsers;
    ++file->m_nViews;
    return address;
}

void CqHeadlessScratch::fnUnmapView(void* address, std::uint32_t size) noexcept {
    const auto found = m_Views.find(address);
    if (found == m_Views.end() || found->second.m_nSize != size) {
        m_pMisuses->fnAdd("unmapping of an address that isn't mapped");
        return;
    }
    fnDropView(found->second.m_pFile);
    m_Views.erase(found);
}

void CqHeadlessScratch::fnAdvise(CQ_VIEW_ADVICE advice, void* address,
                                 std::uint32_t size) noexcept {
    auto* const begin = static_cast<std::uint8_t*>(address);
    const auto holds = [&](const auto& entry) {
        const auto* view = static_cast<const std::uint8_t*>(entry.first);
        return std::less_equal<>()(view, begin) &&
               std::less_equal<>()(begin + size, view + entry.second.m_nSize);
    };
    if (std::none_of(m_Views.begin(), m_Views.end(), holds))
        m_pMisuses->fnAdd("advice on bytes that aren't mapped");
    else if (m_Advise.fnPass() && m_OnAdvice)
        m_OnAdvice(advice, begin, size);
}

bool CqHeadlessScratch::fnDelete(const char* name) noexcept {
    if (!m_Delete.fnPass())
        return false;
    // Bookkeeping may allocate, and an allocation failure injected by a test must not keep a file
    // alive, so a failure is retried once.
    bool deleted = false;
    const auto tryOnce = [&] { deleted = m_pDisks->fnDelete(name); };
    static_cast<void>(q32::fnTryMemory(tryOnce) || q32::fnTryMemory(tryOnce));
    return deleted;
}
