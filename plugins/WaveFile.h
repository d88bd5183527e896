/// @file
/// Reads WAV files into a CqWave, and writes them.
///
/// Files are accessed through the platform's file service, so a platform must be attached. Chunks
/// may be in any order, and unknown ones are skipped; samples go directly between the file and the
/// wave's buffer. No function here throws: every failure is reported by the result, with the
/// message numbers of picture files. Nothing is locked; a wave may be used by only one thread at a
/// time.
#pragma once

#include "plugins/PictureTypes.h"

#include <cstdint>

class CqWave;

/// How a read or write ended. A write is never aborted.
using CqWaveFileResult = CqPictureResult;

/// What reading one file may take. A file that needs more is refused before anything is allocated
/// for its samples. The defaults accept every sound that a wave can hold.
struct CqWaveLimits {
    /// Bytes of the samples, as the wave holds them.
    std::uint64_t m_nStorageBytes = UINT32_MAX;
    /// Chunks ahead of the samples, and between these and the format.
    unsigned int m_nChunks = 65536;
    /// Elapsed time, without that in the progress object; 0 for any. Checked at each report of
    /// progress.
    unsigned int m_nMilliseconds = 0;
};

/// Reads PCM of 8, 16, 24 and 32 bits and floating-point samples of 32 and 64 bits, in any number
/// of channels and at any rate, declared by the plain or the extensible form of the format; others
/// give -102, and so do the variants for 4 GiB and more. A wave holds 8 or 16 bits: all larger
/// samples are rounded to 16, which the result's `m_bReduced` says. Floating-point samples are
/// limited to -1 to 1; NaN becomes silence. Bytes after the last complete frame are ignored. A file
/// that ends before its samples do gives -6, one without samples -11. On success the wave is
/// replaced, otherwise it is unchanged; old and new exist at the same time. It must not be playing.
/// @param progress  called for every 64 KiB of chunks ahead of the samples, before these are read,
///                  and after each 256 KiB of them; may be null
Q32_API CqWaveFileResult q32ReadWave(const char* path, CqWave& wave,
                                     CqPictureProgress* progress = nullptr);
/// The same, within limits; the result names the one that refused the file.
Q32_API CqWaveFileResult q32ReadWave(const char* path, CqWave& wave, const CqWaveLimits& limits,
                                     CqPictureProgress* progress = nullptr);

/// Writes the format and the frames, which must be 8- or 16-bit PCM (else -102) and at least one
/// (else -11). Everything is first written to a new file beside `path`, which then replaces it.
/// Samples that the wave's scratch file has lost give -1, and the old file stays.
Q32_API CqWaveFileResult q32WriteWave(const char* path, const CqWave& wave);
