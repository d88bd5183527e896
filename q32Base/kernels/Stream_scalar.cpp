#include "q32Base/kernels/KernelParts_p.h"

#include <cstring>

namespace q32 {
namespace {

void fnStreamCopy(const std::uint8_t* source, std::uint8_t* target, std::size_t count) {
    if (count != 0)
        std::memcpy(target, source, count);
}

void fnStreamEnd() {}

} // namespace

void fnUseScalarStream(Kernels& table) {
    table.fnStreamCopy = fnStreamCopy;
    table.fnStreamEnd = fnStreamEnd;
}

} // namespace q32
