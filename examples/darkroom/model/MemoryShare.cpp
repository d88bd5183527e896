#include "examples/darkroom/model/MemoryShare.h"

#include "platforms/posix/posix.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/module/Module.h"

namespace darkroom {

std::uint64_t fnGetMachineMemory() {
    return q32::fnTryMemoryOr(std::uint64_t{0}, [] { return q32PosixUsableMemory(); });
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
