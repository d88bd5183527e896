#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the transposing kernels of one instruction set into the table, and leaves the others.
void fnUseScalarTranspose(CqKernels& table);
void fnUseAvx2Transpose(CqKernels& table);

namespace scalar {

// The plain version, which the vector versions also use for small blocks.
template <std::size_t kBytes>
void fnTranspose(const std::uint8_t* source, std::ptrdiff_t sourceStride, std::uint8_t* target,
                 std::ptrdiff_t targetStride, std::size_t width, std::size_t height);

} // namespace scalar
} // namespace q32
