#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// The instruction sets that kernels are written for, each including the ones before it.
enum class CqKernelLevel {
    SCALAR, ///< plain C++, on every machine; the judge of the others
    AVX2,   ///< with FMA
    AVX512, ///< F, BW, VL, DQ and VBMI together
};

// Rules common to all kernels.
//
// - A kernel works on one run of `count` pixels that lie side by side, from `source` to `target`.
//   No alignment is asked for. A count of 0 does nothing.
// - It reads only the source pixels of the run and writes only the target pixels of the run: not a
//   byte before or behind them.
// - Source and target don't overlap, unless "in place" is told: then they may be the same address.
// - Every level yields the same bytes.
// - Nothing is checked, allocated, thrown or kept: any thread may call any kernel.
//
// Formats are named by the bytes in memory order: Rgb24 is red, green, blue; Argb32 is alpha, red,
// green, blue; Bgrx32 is blue, green, red and a byte of no meaning; Rgb565 is a 16-bit value of 5,
// 6 and 5 bits, red topmost, stored high byte first. Its channels widen by staying in the high
// bits: the low bits are 0.

/// From one format to another.
using CqPixelRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count);

/// Through a palette of `paletteCount` entries of four bytes: blue, green, red, reserved.
/// An index at or beyond `paletteCount` reads no entry: it has the bytes 0, 0, 0, 0.
using CqPaletteRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                              const std::uint8_t* palette, std::size_t paletteCount);

/// Through a table of 256 bytes, in place.
using CqCurveRun = void (*)(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve);

/// Through three tables of 256 bytes that follow each other, one for each channel in the order red,
/// green, blue. In place.
using CqChannelCurvesRun = void (*)(std::uint8_t* pixels, std::size_t count,
                                    const std::uint8_t* curves);

/// Compares bytes with a level, in place.
using CqThresholdRun = void (*)(std::uint8_t* pixels, std::size_t count, std::uint8_t level);

/// Turns hues and shifts saturations, in place. See HueShift.h.
struct CqHueShift;
using CqHueRun = void (*)(std::uint8_t* pixels, std::size_t count, const CqHueShift& shift);

/// To indices of the 6 x 6 x 6 colour palette, by ordered dither. `thresholds` has 8 rows of 8
/// values from 0 to 50; the run begins at pixel (x, y) of the pattern, which repeats everywhere.
using CqDitherRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                             const std::uint8_t* thresholds, int x, int y);

/// To 5 bits a channel by ordered dither, in place. `pattern` has 4 rows of 4 values from 0 to 127.
using CqHiColorRun = void (*)(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern,
                              int x, int y);

/// Pixel repetition. `count` is that of the target. Each source pixel is written `factor` times,
/// the first one only `factor - phase` times, and the last one as often as still fits. `factor` is
/// 1 or more, `phase` is below `factor`: for target column x of an enlarged row, give the address
/// of source pixel x / factor and the phase x % factor.
using CqInflateRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                              std::size_t factor, std::size_t phase);

/// Nearest sample: target pixel i takes source pixel i * factor. `factor` is 1 or more.
using CqShrinkRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                             std::size_t factor);

/// Nearest sample in 24.8 fixed point: target pixel i takes source pixel (at + i * step) >> 8. No
/// place passes 32 bits. The run of the source ends with the pixel that the last one takes.
using CqSampleRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                             std::uint32_t at, std::uint32_t step);

/// Sets every pixel of a run to the bytes at `pixel`, of which there are as many as a pixel has.
using CqFillRun = void (*)(std::uint8_t* target, std::size_t count, const std::uint8_t* pixel);

/// Copies `rows` rows of `count` bytes each that lie apart by strides in bytes.
using CqRowsRun = void (*)(const std::uint8_t* source, std::size_t sourceStride,
                           std::uint8_t* target, std::size_t targetStride, std::size_t count,
                           std::size_t rows);

/// Lays a run over another one of the same format. `key` is red, green and blue.
using CqKeyRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                          const std::uint8_t* key);

/// Lays a run over another one of the same format, with one weight a pixel.
using CqWeightRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                             const std::uint8_t* weights);

struct ContribList;

/// How many rows stand side by side in the lanes of the filter's kernels.
inline constexpr std::size_t kFilterLanes = 32;

// The filter's samples are bytes. Unless its table is whole they are held as floats: each is turned
// once and summed up many times.

/// The filter's weighted sum of rows: target byte i is the sum of sample i of `rows[k]` times the
/// weight of the list's entry k, in double and in the order of the entries, from 0 on. It is
/// lifted by kFilterDust, truncated and brought into a byte. Pixel indices aren't looked at.
using CqWeighRows = void (*)(const float* const* rows, const ContribList& list,
                             std::uint8_t* target, std::size_t count);

/// Pixels side by side in kFilterLanes rows: a block of as many samples for each channel, the
/// channels of a pixel one after the other, then the next pixel.
struct CqFloatLanes {
    const float* samples;
    const std::uint8_t* bytes; ///< the same
    /// How many pixels before have the same byte in that channel and row, 255 being 255 or more.
    const std::uint8_t* runs;
    std::int32_t first; ///< the first pixel
};

/// The same sum over lanes, for each channel a block. The entries' pixels tell where.
using CqWeighLanes = void (*)(const CqFloatLanes& lanes, const ContribList& list,
                              std::uint8_t* target, std::size_t channels);

/// Both again, from the bytes themselves, for the lists of a whole table.
using CqWeighWholeRows = void (*)(const std::uint8_t* const* rows, const ContribList& list,
                                  std::uint8_t* target, std::size_t count);
using CqWeighWholeLanes = void (*)(const std::uint8_t* lanes, std::int32_t first,
                                   const ContribList& list, std::uint8_t* target,
                                   std::size_t channels);

/// Rows become columns: target pixel j of row i is source pixel i of row j, for `width` source
/// columns and `height` source rows. Strides are in bytes and may be negative.
using CqTransposeRun = void (*)(const std::uint8_t* source, std::ptrdiff_t sourceStride,
                                std::uint8_t* target, std::ptrdiff_t targetStride,
                                std::size_t width, std::size_t height);

/// How many rows a turn works on side by side.
inline constexpr std::size_t kTurnRows = 4;

/// A part of a source image for a turn, with the background around it in place. It holds every
/// pixel that the turn looks at, and 8 readable bytes more behind the last pixel.
struct CqTurnSource {
    const std::uint8_t* pixels;
    std::int32_t stride; ///< pixels from a row to the next one; at most 2^15
    double left;         ///< whole numbers: the image's coordinates of the first pixel
    double top;
};

/// Target rows of a turn, and where they run through the source: from (x, y), a step of (c, -s) for
/// each pixel, added up one by one.
struct CqTurnRows {
    std::uint8_t* target[kTurnRows];
    double x[kTurnRows];
    double y[kTurnRows];
    double c;
    double s;
};

/// `count` pixels in each row. Nearest: coordinates are rounded, halves away from 0. Bilinear:
/// coordinates are cut toward 0, also below 0, and the four weights come of what is cut off; sums
/// in double are truncated.
using CqTurnRun = void (*)(const CqTurnSource& source, const CqTurnRows& rows, std::size_t count);

/// The inner loops of the library for one instruction set.
///
/// Example: `fnKernels().fnRgb24ToBgrx32(row, screenRow, width);`
struct CqKernels {
    CqKernelLevel level;

    // Pixel formats.
    CqPixelRun fnRgb565ToBgr24;
    CqPixelRun fnRgb565ToBgrx32; ///< the fourth byte is 0
    CqPixelRun fnRgb565ToRgb24;
    CqPixelRun fnRgb565ToArgb32; ///< alpha 255
    CqPixelRun fnRgb24ToBgr24;   ///< in place; its own reverse
    CqPixelRun fnRgb24ToBgrx32;  ///< the fourth byte is 0
    CqPixelRun fnRgb24ToArgb32;  ///< alpha 255
    CqPixelRun fnArgb32ToBgr24;  ///< alpha dropped
    CqPixelRun fnArgb32ToRgb24;  ///< alpha dropped
    CqPixelRun fnArgb32ToBgra32; ///< the four bytes reversed, in place; its own reverse
    CqPixelRun fnSwap16;         ///< the two bytes swapped, in place; its own reverse
    /// In place. The source is 5-5-5 stored low byte first, its top bit is dropped; the low green
    /// bit of the result is 0.
    CqPixelRun fnRgb555LeToRgb565;
    /// In place. The low green bit is dropped; the result is stored low byte first, top bit 0.
    CqPixelRun fnRgb565ToRgb555Le;

    // Palette indices.
    /// Two indices a byte, the first one in the high nibble, to one index a byte. Reads
    /// (count + 1) / 2 bytes; an odd count takes only the high nibble of the last.
    CqPixelRun fnIndex4ToIndex8;
    CqPaletteRun fnIndex8ToBgr24;
    CqPaletteRun fnIndex8ToBgrx32; ///< the palette entry as it is, reserved byte included
    CqPaletteRun fnIndex8ToRgb24;
    CqPaletteRun fnIndex8ToArgb32; ///< alpha 255

    // Tone.
    CqCurveRun fnCurve8;                   ///< every byte
    CqCurveRun fnCurve24;                  ///< all three bytes of a pixel
    CqCurveRun fnCurve32;                  ///< the first three bytes of a pixel, the fourth stays
    CqChannelCurvesRun fnChannelCurves565; ///< the result is cut to 5, 6 and 5 bits
    CqChannelCurvesRun fnChannelCurves24;  ///< Rgb24
    CqChannelCurvesRun fnChannelCurves32;  ///< Argb32; alpha stays
    CqThresholdRun fnThreshold;            ///< 0 below the level, else 255; `count` is of bytes
    /// Two bytes a pixel: red is the high five bits of the first byte and blue the low five of the
    /// second, but green is bits 5 to 10 of both taken low byte first. The result is 5-6-5 stored
    /// low byte first. Both are wanted: a pixel comes back with its bytes exchanged.
    CqHueRun fnHueShift16;
    CqHueRun fnHueShift24; ///< Rgb24
    CqHueRun fnHueShift32; ///< Argb32; alpha stays

    // Dither. A colour component of 255 where the threshold is 0 reaches level 6, beyond the
    // palette's six levels, and adds nothing to the index. This is wanted: it is how the screen has
    // always shown it, so white becomes index 0 in those cells.
    CqDitherRun fnDither16; ///< Rgb565
    CqDitherRun fnDither24; ///< Rgb24
    CqDitherRun fnDither32; ///< Argb32; alpha is skipped
    /// Three bytes a pixel, whatever their meaning. A byte is rounded up when its low three bits
    /// are above the pattern's value, else down. So values of 7 and more never round up; this is
    /// wanted.
    CqHiColorRun fnHiColorDither;

    // Zoom, by bytes a pixel: element 0 for one byte to element 3 for four.
    CqInflateRun fnInflate[4];
    CqShrinkRun fnShrink[4];
    CqSampleRun fnSample[4];

    // Fill, by bytes a pixel: element 0 for one byte to element 3 for four. Long runs go past the
    // caches.
    CqFillRun fnFill[4];
    CqRowsRun fnCopyRows; ///< for rows of a part of a tile, too short for a copy of their own each

    // Merge. A weight of 0 leaves the target, 255 takes the source, and any other gives the lesser
    // of 255 and target x (255 - weight) + source x weight for each channel: no division follows,
    // deliberately.
    //
    // At 16 bits, red is the first byte without its low three bits, blue the second byte's low five
    // bits as the high ones, and green is 0. What is written is stored low byte first, so red comes
    // to lie in the second byte and blue in the first. Both are wanted.
    CqKeyRun fnMergeKey16; ///< all pixels but those of the key colour; one with green never matches
    CqKeyRun fnMergeKey24; ///< all pixels but those of the key colour
    CqWeightRun fnMergeMask16;
    CqWeightRun fnMergeMask24;
    CqPixelRun fnMergeAll16; ///< as if every weight were 255

    // Masks, a byte a pixel: the source is added to or taken off the target. Where the sum
    // overflows as one of signed bytes, it is 255: so 100 and 100 give 255, but 200 and 100
    // give 44. This is wanted. A difference below 0 is 0.
    CqPixelRun fnMaskAdd;
    CqPixelRun fnMaskSubtract;

    // The cubic filter. Rows and lanes: byte i of row r lies at i * kFilterLanes + r.
    CqWeighRows fnWeighRows;
    CqWeighLanes fnWeighLanes;
    CqWeighWholeRows fnWeighWholeRows;
    CqWeighWholeLanes fnWeighWholeLanes;
    void (*fnBytesToFloats)(const std::uint8_t* source, float* target, std::size_t count);
    /// `count` bytes of each of kFilterLanes rows to lanes. Rows may be given twice.
    void (*fnRowsToLanes)(const std::uint8_t* const* rows, std::uint8_t* target, std::size_t count);
    /// What the sums need of `pixels` pixels in lanes, the runs beginning with the first one.
    void (*fnReadLanes)(const std::uint8_t* lanes, float* samples, std::uint8_t* runs,
                        std::size_t pixels, std::size_t channels);
    /// Lanes to rows.
    void (*fnLanesToRows)(const std::uint8_t* source, std::uint8_t* const* rows, std::size_t count);

    // Rotation.
    CqTransposeRun fnTranspose[4]; ///< by bytes a pixel: element 0 for one to element 3 for four
    CqTurnRun fnTurnNearest8;
    CqTurnRun fnTurnNearest32;
    /// The sum is p00 w00 + p01 w01 + p10 w10 + p11 w11, from the left.
    CqTurnRun fnTurnBilinear8;
    /// Every byte for itself. The sum is p11 w11 + p01 w01 + p10 w10 + p00 w00, from the left.
    CqTurnRun fnTurnBilinear32;

    // Streaming.
    /// Copies `count` bytes past the caches: for a large target that isn't read soon. Every series
    /// of calls ends with fnStreamEnd, before anyone else reads the target. See StreamPixels.h.
    CqPixelRun fnStreamCopy;
    void (*fnStreamEnd)();
};

/// The table in force: that of the highest level that the processor has. Chosen once.
const CqKernels& fnKernels();

/// The table of one level, or null where the processor or the build lacks it. For tests and
/// benches.
const CqKernels* fnKernelsOfLevel(CqKernelLevel level);

} // namespace q32
