#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the pixel format kernels of one instruction set into the table, and leaves the others.
void fnUseScalarPixelFormat(CqKernels& table);
void fnUseAvx2PixelFormat(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnRgb565ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb565ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb565ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb565ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb24ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb24ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb24ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnArgb32ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnArgb32ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnArgb32ToBgra32(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnSwap16(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb555LeToRgb565(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnRgb565ToRgb555Le(const std::uint8_t* source, std::uint8_t* target, std::size_t count);

} // namespace scalar
} // namespace q32
