#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the merge kernels of one instruction set into the table, and leaves the others.
void fnUseScalarMerge(CqKernels& table);
void fnUseAvx2Merge(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnMergeKey16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key);
void fnMergeKey24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                  const std::uint8_t* key);
void fnMergeMask16(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights);
void fnMergeMask24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                   const std::uint8_t* weights);
void fnMergeAll16(const std::uint8_t* source, std::uint8_t* target, std::size_t count);

} // namespace scalar
} // namespace q32
