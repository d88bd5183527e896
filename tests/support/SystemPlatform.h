/// @file The services of the system that the test runs on.
#pragma once

#include "q32Base/platform/CqPlatform.h"

#include <cstddef>

#ifdef _WIN32
#include "platforms/win32/win32.h"
#else
#include "platforms/posix/posix.h"

#include <sys/mman.h>
#include <unistd.h>
#endif

namespace q32::test {

/// A complete platform of the system.
inline CqPlatform fnSystemPlatform() {
#ifdef _WIN32
    return q32Win32Platform(q32Win32Windows());
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
