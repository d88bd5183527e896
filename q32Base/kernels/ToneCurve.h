#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the tone kernels of one instruction set into the table, and leaves the others.
void fnUseScalarToneCurve(CqKernels& table);
void fnUseAvx2ToneCurve(CqKernels& table);
void fnUseAvx512ToneCurve(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnCurve8(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve);
void fnCurve24(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve);
void fnCurve32(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve);

} // namespace scalar
} // namespace q32
