/// @file
/// What reading and writing PNG files share: errors and memory of libpng.
#pragma once

#include "plugins/PictureCodec_p.h"

#include <png.h>

#include <cstdint>

namespace q32 {

class PngChunks;

inline constexpr png_uint_32 kMaxPngSide = 0x7FFFFFFF;
inline constexpr char kPngTitleKey[] = "Title";

/// The state of libpng's callbacks, reached through its user pointers.
struct PngState {
    std::jmp_buf m_Jump;
    CodecInput* m_pInput = nullptr;
    PngChunks* m_pChunks = nullptr;
    CodecOutput* m_pOutput = nullptr;
    std::uint64_t m_nFree = UINT64_MAX; ///< bytes that libpng may still allocate
    bool m_bNoMemory = false;
    PICTURE_LIMIT m_eLimit = PICTURE_LIMIT_NONE; ///< the reason, if memory isn't exhausted
};

// Callbacks for libpng. An error ends the call into it by a jump to `m_Jump`; warnings concern
// chunks that are unused or still readable, and are ignored.
[[noreturn]] void fnPngError(png_structp png, png_const_charp text);
void fnPngWarning(png_structp png, png_const_charp text);
png_voidp fnPngAlloc(png_structp png, png_alloc_size_t size);
void fnPngFree(png_structp png, png_voidp block);

/// Writes a PNG. Throws as PictureCodec describes.
void fnWritePng(CodecOutput& output, PictureSource& source, const CqPictureOptions& options);

} // namespace q32
