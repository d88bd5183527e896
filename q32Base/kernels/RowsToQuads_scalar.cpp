#include "q32Base/kernels/KernelParts_p.h"

namespace q32 {
namespace scalar {
namespace {

void fnRowsToQuads(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t pixels,
                   std::size_t channels) {
    for (std::size_t at = 0; at < (pixels + 3) / 4 * 4; ++at)
        for (std::size_t c = 0; c < channels; ++c)
            for (std::size_t row = 0; row < kFilterLanes; ++row)
                target[((at / 4 * channels + c) * kFilterLanes + row) * 4 + at % 4] =
                    at < pixels ? rows[row][at * channels + c] : std::uint8_t{0};
}

} // namespace
} // namespace scalar

void fnUseScalarRowsToQuads(Kernels& table) {
    table.fnRowsToQuads = scalar::fnRowsToQuads;
}

} // namespace q32
