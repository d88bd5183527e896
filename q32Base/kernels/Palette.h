#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the palette index kernels of one instruction set into the table, and leaves the
/// others.
void fnUseScalarPalette(CqKernels& table);
void fnUseAvx2Palette(CqKernels& table);

// The plain versions, which the vector versions also use for the ends of runs.
namespace scalar {

void fnIndex4ToIndex8(const std::uint8_t* source, std::uint8_t* target, std::size_t count);
void fnIndex8ToBgr24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount);
void fnIndex8ToBgrx32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount);
void fnIndex8ToRgb24(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                     const std::uint8_t* palette, std::size_t paletteCount);
void fnIndex8ToArgb32(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                      const std::uint8_t* palette, std::size_t paletteCount);

} // namespace scalar
} // namespace q32
