#include "examples/darkroom/model/Room.h"

#include "examples/darkroom/model/Bands.h"
#include "q32Base/memory/CqVMPolicy.h"

#include <algorithm>

namespace darkroom {

std::uint64_t fnFindRoom() {
    const CqVMPolicy& policy = *q32GetVMPolicy();
    const std::uint64_t bound = policy.fnGetRamBound();
    std::uint64_t room = bound - std::min(bound, policy.fnGetRamBytes());
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i) {
        ULARGE_INTEGER free{};
        if (policy.fnIsDiskEnabled(i)) {
            policy.fnGetDiskFreeSpace(i, free);
            room = std::max<std::uint64_t>(room, free.QuadPart);
        }
    }
    return room;
}

bool fnIsRoomShort(std::uint64_t bytes) {
    constexpr std::uint64_t kCopies =
        16; // saved pixels, work pieces, and a result 8 times as large
    return fnFindRoom() < std::min(kMaxBytes, bytes * kCopies);
}

} // namespace darkroom
