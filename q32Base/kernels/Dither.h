#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the dither kernels of one instruction set into the table, and leaves the others.
void fnUseScalarDither(CqKernels& table);
void fnUseAvx2Dither(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnDither16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y);
void fnDither24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y);
void fnDither32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                const std::uint8_t* thresholds, int x, int y);
void fnHiColorDither(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern, int x,
                     int y);

} // namespace scalar
} // namespace q32
