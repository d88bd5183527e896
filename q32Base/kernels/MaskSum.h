#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the mask kernels of one instruction set into the table, and leaves the others.
void fnUseScalarMaskSum(CqKernels& table);
void fnUseAvx2MaskSum(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnMaskAdd(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnMaskSubtract(const std::uint8_t* source, std::uint8_t* target, std::size_t count);

} // namespace scalar
} // namespace q32
