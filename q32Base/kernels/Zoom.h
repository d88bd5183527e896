#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the zoom kernels of one instruction set into the table, and leaves the others.
void fnUseScalarZoom(CqKernels& table);
void fnUseAvx2Zoom(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

template <std::size_t kBytes>
void fnInflate(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
               std::size_t factor, std::size_t phase);
template <std::size_t kBytes>
void fnShrink(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
              std::size_t factor);
template <std::size_t kBytes>
void fnSample(const std::uint8_t* source, std::uint8_t* target, std::size_t count, std::uint32_t at,
              std::uint32_t step);

} // namespace scalar
} // namespace q32
