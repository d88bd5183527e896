#include "examples/darkroom/model/MemoryShare.h"

#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/module/Module.h"

#include <unistd.h>

namespace darkroom {

std::uint64_t fnGetMachineMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long size = ::sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0
               ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size)
               : 0;
}

void fnApplyMemoryShare() {
    const std::uint64_t memory = fnGetMachineMemory();
    if (memory == 0)
        return; // keep the library's limit
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnSetRamLimit(
        fnComputeLimit(memory, policy.fnIsMemEnabled() ? policy.fnGetMemUsage() : kUsualShare));
}

} // namespace darkroom
