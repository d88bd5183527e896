#include "platforms/win32/CqWin32Memory_p.h"
#include "q32Base/platform/Records.h"

#include <cstdint>

void* CqWin32Memory::fnReserve(std::size_t size) {
    // Rounding up to pages may not overflow.
    if (size == 0 || size > SIZE_MAX / 2)
        return nullptr;
    return ::VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_READWRITE);
}

bool CqWin32Memory::fnCommit(void* address, std::size_t size) {
    return ::VirtualAlloc(address, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void CqWin32Memory::fnDecommit(void* address, std::size_t size) {
    ::VirtualFree(address, size, MEM_DECOMMIT);
}

bool CqWin32Memory::fnRelease(void* address, std::size_t) {
    return address && ::VirtualFree(address, 0, MEM_RELEASE);
}

std::uint64_t CqWin32Memory::fnGetPhysicalBytes() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return ::GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}

std::uint64_t CqWin32Memory::fnGetBlockLimit() {
    const std::uint64_t bytes = fnGetPhysicalBytes();
    return bytes == 0 ? kNoMemoryLimit : bytes / 2;
}
