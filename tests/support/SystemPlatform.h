/// @file The services of the system that the test runs on.
#pragma once

#include "q32Base/platform/CqPlatform.h"

#include <cstddef>

#ifdef _WIN32
#include "platforms/headless/headless.h"
#include "platforms/win32/win32.h"
#else
#include "platforms/posix/posix.h"

#include <sys/mman.h>
#include <unistd.h>
#endif

namespace q32::test {

/// Memory and files of the system; what a back end lacks comes from a scripted world.
inline CqPlatform fnSystemPlatform() {
#ifdef _WIN32
    CqPlatform platform = q32HeadlessPlatform();
    const CqPlatform system = q32Win32Services();
    platform.m_pMemory = system.m_pMemory;
    platform.m_pScratch = system.m_pScratch;
    platform.m_pFiles = system.m_pFiles;
    platform.m_pLocale = system.m_pLocale;
    return platform;
#else
    return q32PosixPlatform();
#endif
}

/// What may be done with pages of memory.
enum class Access { NONE, READ, WRITE };

inline bool fnProtect(void* pages, std::size_t size, Access access) {
#ifdef _WIN32
    constexpr DWORD kSystem[] = {PAGE_NOACCESS, PAGE_READONLY, PAGE_READWRITE};
    DWORD before = 0;
    return ::VirtualProtect(pages, size, kSystem[static_cast<int>(access)], &before);
#else
    constexpr int kSystem[] = {PROT_NONE, PROT_READ, PROT_READ | PROT_WRITE};
    return ::mprotect(pages, size, kSystem[static_cast<int>(access)]) == 0;
#endif
}

inline std::size_t fnGetPageBytes() {
#ifdef _WIN32
    SYSTEM_INFO info;
    ::GetSystemInfo(&info);
    return info.dwPageSize;
#else
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
#endif
}

} // namespace q32::test
