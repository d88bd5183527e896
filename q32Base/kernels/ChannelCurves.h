#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the kernels with a curve for each channel of one instruction set into the table, and
/// leaves the others.
void fnUseScalarChannelCurves(CqKernels& table);
void fnUseAvx2ChannelCurves(CqKernels& table);
void fnUseAvx512ChannelCurves(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnChannelCurves24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves);
void fnChannelCurves32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curves);

} // namespace scalar
} // namespace q32
