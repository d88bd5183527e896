/// @file
/// WAV files into a CqWave and back.
///
/// Files are reached through the platform's file service, so a platform must be in force. Chunks
/// are walked, whatever stands between them and in whatever order; samples go straight between the
/// file and the sound's block. No function here throws: every failure is told by the result, whose
/// numbers are those of the pictures. Nothing is locked; a sound is used by one thread at a time.
#pragma once

#include "plugins/PictureTypes.h"

class CqWave;

/// How a read or write ended. A write is never aborted.
using CqWaveFileResult = CqPictureResult;

/// Reads PCM of 8 or 16 bits, in any number of channels and at any rate, told by the plain or the
/// extensible form of the format; other kinds give -102, and so do the forms for 4 GiB and more.
/// Bytes behind the last whole frame are left out. A file that ends before its samples do gives -6,
/// one without samples -11. On success the sound is replaced, otherwise it stays; old and new exist
/// at the same time. It must not be under way.
/// @param progress  told before the samples are read, and after each 256 KiB of them; may be null
Q32_API CqWaveFileResult q32ReadWave(const char* path, CqWave& wave,
                                     CqPictureProgress* progress = nullptr);

/// Writes the format and the whole frames, which have to be 8 or 16 bits PCM (else -102) and must
/// not be missing (else -11). All is written to a new file beside `path` first, which then takes
/// its place.
Q32_API CqWaveFileResult q32WriteWave(const char* path, const CqWave& wave);
