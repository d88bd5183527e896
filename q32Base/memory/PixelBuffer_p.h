/// @file
/// The only source of large blocks. Five values identify a block: address, size, file handle,
/// mapping handle and the temporary file's name; `q32::PixelBlock` keeps them together.
#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/platform/CqScratchService.h"

#include <cstdint>

/// Allocates a block of `size` bytes where the memory policy decides: in RAM, or in a mapped
/// temporary file. Page-aligned.
/// @param file     `kNoFile` for a block in RAM
/// @param mapping  `kNoMapping` for a block in RAM
/// @param name     the file's full name; empty for a block in RAM
/// @param slack    bytes after those, at most a page, that can be accessed too and count nowhere
/// @param zero     whether all bytes are zero; otherwise they are arbitrary
/// @return the block, never null. Raises the memory exception when neither RAM nor any scratch disk
///         has space; no file is left then, except an empty one that the service refused to open.
unsigned char* AllocPixelBuffer(std::uint32_t size, CqFileHandle& file, CqMappingHandle& mapping,
                                CString& name, std::uint32_t slack = 0, bool zero = true);

/// Releases a block, deletes its file, and resets the three to their empty values. Size and slack
/// are those of its allocation. The memory service may hold back a block in RAM.
void FreePixelBuffer(unsigned char* address, std::uint32_t size, CqFileHandle* file,
                     CqMappingHandle* mapping, CString* name, std::uint32_t slack = 0);
