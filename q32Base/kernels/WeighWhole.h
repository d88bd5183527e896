#pragma once

#include "q32Base/kernels/ContribList.h"
#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the kernels of whole sums of one instruction set into the table, and leaves the
/// others.
void fnUseScalarWeighWhole(CqKernels& table);
void fnUseAvx2WeighWhole(CqKernels& table);

namespace scalar {

// The plain version, which the vector version also uses for short runs.
void fnWeighWholeRows(const std::uint8_t* const* rows, const ContribList& list,
                      std::uint8_t* target, std::size_t count);

} // namespace scalar
} // namespace q32
