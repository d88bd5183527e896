/// @file
/// Counts the memory that libjpeg takes. The functions through which it allocates are defined in
/// JpegAllocations.cpp, ahead of its own.
#pragma once

#include <cstddef>

/// The bytes that libjpeg has requested on this thread so far.
std::size_t fnCountJpegBytes();
