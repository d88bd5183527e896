#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the threshold kernel of one instruction set into the table, and leaves the others.
void fnUseScalarThreshold(CqKernels& table);
void fnUseAvx2Threshold(CqKernels& table);

// The plain version, which the vector version also uses for the ends of runs.
namespace scalar {

void fnThreshold(std::uint8_t* pixels, std::size_t count, std::uint8_t level);

} // namespace scalar
} // namespace q32
