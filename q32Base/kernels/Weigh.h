#pragma once

#include "q32Base/kernels/ContribList.h"
#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the filter's kernels of one instruction set into the table, and leaves the others.
void fnUseScalarWeigh(CqKernels& table);
void fnUseAvx2Weigh(CqKernels& table);

namespace scalar {

/// The byte that a sum of doubles is stored as: lifted by kFilterDust, truncated and brought into
/// a byte. Not-a-number gives 0.
std::uint8_t fnStoredByte(double sum);

// The plain versions, which the vector versions also use for the ends of runs.
void fnBytesToFloats(const std::uint8_t* source, float* target, std::size_t count);
void fnRowsToLanes(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count);
void fnReadLanes(const std::uint8_t* lanes, float* samples, std::uint8_t* runs, std::size_t pixels,
                 std::size_t channels);
void fnLanesToRows(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count);

} // namespace scalar
} // namespace q32
