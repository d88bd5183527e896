#pragma once

#include <cstddef>
#include <cstdint>

namespace q32 {

/// The instruction sets that kernels are written for, each a superset of the previous one.
enum class KernelLevel {
    SCALAR, ///< plain C++, on every machine; the reference for the others
    AVX2,   ///< with FMA
    AVX512, ///< F, BW, VL, DQ, VBMI and VNNI together
};

// Rules common to all kernels.
//
// - A kernel processes one run of `count` adjacent pixels, from `source` to `target`. No alignment
//   is required. A count of 0 does nothing.
// - It reads only the source pixels of the run and writes only the target pixels of the run: no
//   byte before or after them.
// - Source and target don't overlap, unless "in place" is stated: then they may be equal.
// - Every level yields the same bytes.
// - Nothing is checked, allocated, thrown or kept: any thread may call any kernel.
//
// Formats are named by the bytes in memory order: Rgb24 is red, green, blue; Argb32 is alpha, red,
// green, blue; Bgrx32 is blue, green, red and an unused byte; Rgb565 is a 16-bit value of 5, 6 and
// 5 bits, red in the top bits, stored high byte first. Its channels widen by staying in the high
// bits: the low bits are 0.

/// Converts a run from one format to another.
using PixelRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count);

/// Looks indices up in a palette of `paletteCount` entries of four bytes: blue, green, red,
/// reserved. An index at or beyond `paletteCount` reads no entry and counts as the bytes 0, 0, 0,
/// 0.
using PaletteRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                            const std::uint8_t* palette, std::size_t paletteCount);

/// Maps pixels through a table of 256 bytes, in place.
using CurveRun = void (*)(std::uint8_t* pixels, std::size_t count, const std::uint8_t* curve);

/// Maps channels through three consecutive tables of 256 bytes: red, green, blue. In place.
using ChannelCurvesRun = void (*)(std::uint8_t* pixels, std::size_t count,
                                  const std::uint8_t* curves);

/// Compares bytes with a level, in place.
using ThresholdRun = void (*)(std::uint8_t* pixels, std::size_t count, std::uint8_t level);

/// Rotates hues and shifts saturations, in place. See HueShift_p.h.
struct HueShift;
using HueRun = void (*)(std::uint8_t* pixels, std::size_t count, const HueShift& shift);

/// Converts to indices of the 6 x 6 x 6 colour palette by ordered dither. `thresholds` has 8 rows
/// of 8 values from 0 to 50; the run begins at pixel (x, y) of the pattern, which repeats in both
/// directions.
using DitherRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                           const std::uint8_t* thresholds, int x, int y);

/// Reduces to 5 bits a channel by ordered dither, in place. `pattern` has 4 rows of 4 values from 0
/// to 127.
using HiColorRun = void (*)(std::uint8_t* pixels, std::size_t count, const std::uint8_t* pattern,
                            int x, int y);

/// Pixel repetition. `count` is in target pixels. Each source pixel is written `factor` times, the
/// first one only `factor - phase` times, and the last one as often as fits. `factor` is 1 or more,
/// `phase` is below `factor`: for target column x of an enlarged row, give the address of source
/// pixel x / factor and the phase x % factor.
using InflateRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                            std::size_t factor, std::size_t phase);

/// Nearest-neighbour reduction: target pixel i takes source pixel i * factor. `factor` is 1 or
/// more.
using ShrinkRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                           std::size_t factor);

/// Nearest neighbour in 24.8 fixed point: target pixel i takes source pixel (at + i * step) >> 8.
/// No position exceeds 32 bits. The source run ends with the pixel that the last target pixel
/// takes.
using SampleRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                           std::uint32_t at, std::uint32_t step);

/// Sets every pixel of a run to the one at `pixel`.
using FillRun = void (*)(std::uint8_t* target, std::size_t count, const std::uint8_t* pixel);

/// Copies `rows` rows of `count` bytes each. Strides are in bytes.
using RowsRun = void (*)(const std::uint8_t* source, std::size_t sourceStride, std::uint8_t* target,
                         std::size_t targetStride, std::size_t count, std::size_t rows);

/// Merges a run into another of the same format by a key colour: red, green, blue.
using KeyRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                        const std::uint8_t* key);

/// Merges a run into another of the same format, with one weight per pixel.
using WeightRun = void (*)(const std::uint8_t* source, std::uint8_t* target, std::size_t count,
                           const std::uint8_t* weights);

/// Combines two runs of bytes. `target` may be `first`.
using MaskSumRun = void (*)(const std::uint8_t* first, const std::uint8_t* second,
                            std::uint8_t* target, std::size_t count);

struct ContribList;

/// How many rows the filter's kernels process side by side, one per lane.
inline constexpr std::size_t kFilterLanes = 32;

// The filter's samples are bytes. Unless its table is fixed-point, they are converted to float
// once, since each is summed many times.

/// Convolves rows: target byte i is the sum of sample i of `rows[k]` times the weight of the list's
/// entry k, in double, starting from 0 and in the order of the entries. It is stored by the rule of
/// fnStoredByte. The entries' pixel indices aren't used.
using ConvolveRowsRun = void (*)(const float* const* rows, const ContribList& list,
                                 std::uint8_t* target, std::size_t count);

/// Consecutive pixels of kFilterLanes rows: for each pixel and each of its channels, a block of
/// kFilterLanes samples, one per row.
struct FloatLanes {
    const float* m_pSamples;
    const std::uint8_t* m_pBytes; ///< the same samples as bytes
    /// How many pixels before a sample have the same byte in its channel and row; 255 means 255 or
    /// more.
    const std::uint8_t* m_pRuns;
    std::int32_t m_nFirst; ///< index of the first pixel along the axis
};

/// The same sum over lanes, one block per channel. The entries' pixel indices select the samples.
using ConvolveLanesRun = void (*)(const FloatLanes& lanes, const ContribList& list,
                                  std::uint8_t* target, std::size_t channels);

/// The same two sums on bytes, for the lists of a fixed-point table.
using ConvolveRowsFixedRun = void (*)(const std::uint8_t* const* rows, const ContribList& list,
                                      std::uint8_t* target, std::size_t count);
using ConvolveLanesFixedRun = void (*)(const std::uint8_t* lanes, std::int32_t first,
                                       const ContribList& list, std::uint8_t* target,
                                       std::size_t channels);

// The same two sums in integers, for lists that have them. Where a level prefers these, it is for
// speed alone.

struct QuadList;

/// Convolves rows as ConvolveRowsRun does. `rows[i]` are the samples of pixel `m_nLeast` + i of the
/// list, up to its last pixel and to that of its last quad, whichever is later.
using ConvolveQuadRowsRun = void (*)(const std::uint8_t* const* rows, const QuadList& list,
                                     std::uint8_t* target, std::size_t count);

/// Convolves kFilterLanes rows, for `count` lists that follow each other. `quads` comes from
/// RowsToQuadsRun and begins with pixel `first`, a multiple of 4, as are the lists' first pixels of
/// quads. Writes one block of kFilterLanes bytes per list and channel. `channels` is 1 to 4.
using ConvolveQuadsRun = void (*)(const std::uint8_t* quads, std::int32_t first,
                                  const QuadList* lists, std::size_t count, std::uint8_t* target,
                                  std::size_t channels);

/// Arranges `pixels` pixels of each of kFilterLanes rows in quads: for each four pixels and each of
/// their channels, one block that has the four samples of each row next to each other. The last
/// block is completed with 0. A row may be listed twice. `channels` is 1 to 4.
using RowsToQuadsRun = void (*)(const std::uint8_t* const* rows, std::uint8_t* target,
                                std::size_t pixels, std::size_t channels);

struct LineRows;
struct LineSums;

/// Convolves rows: writes `count` samples of each target row from sample `first` on, a multiple of
/// kLineGroup times kLineBlock. Of each group that is touched, a window may be read for each quad;
/// see fnLineWindow.
using ConvolveLinesRun = void (*)(const LineRows& rows, const LineSums& sums, std::size_t first,
                                  std::size_t count);

/// Converts samples for ConvolveRowsRun.
using BytesToFloatsRun = void (*)(const std::uint8_t* source, float* target, std::size_t count);

/// Interleaves `count` bytes of each of kFilterLanes rows into lanes. A row may be listed twice.
using RowsToLanesRun = void (*)(const std::uint8_t* const* rows, std::uint8_t* target,
                                std::size_t count);

/// Computes the samples and runs of FloatLanes from `pixels` pixels in lanes. Runs are counted from
/// the first of these pixels.
using ReadLanesRun = void (*)(const std::uint8_t* lanes, float* samples, std::uint8_t* runs,
                              std::size_t pixels, std::size_t channels);

/// The inverse of RowsToLanesRun.
using LanesToRowsRun = void (*)(const std::uint8_t* source, std::uint8_t* const* rows,
                                std::size_t count);

/// Transposes: target pixel j of row i is source pixel i of row j, for `width` source columns and
/// `height` source rows. Strides are in bytes and may be negative.
using TransposeRun = void (*)(const std::uint8_t* source, std::ptrdiff_t sourceStride,
                              std::uint8_t* target, std::ptrdiff_t targetStride, std::size_t width,
                              std::size_t height);

/// How many rows a rotation processes side by side.
inline constexpr std::size_t kRotateRows = 4;

/// A part of a source image for a rotation by any angle, with the background painted around it. It
/// holds every pixel that the rotation reads, followed by 8 more readable bytes.
struct RotateSource {
    const std::uint8_t* m_pPixels;
    std::int32_t m_nStride; ///< pixels from one row to the next; at most 2^15
    double m_dLeft;         ///< image coordinates of the first pixel; integral
    double m_dTop;
};

/// Target rows of a rotation and their paths through the source: from (x, y) in steps of (cosine,
/// -sine), which are added pixel by pixel.
struct RotateRows {
    std::uint8_t* m_pTarget[kRotateRows];
    double m_dX[kRotateRows];
    double m_dY[kRotateRows];
    double m_dCosine;
    double m_dSine;
};

/// Writes `count` pixels of each row. Nearest: coordinates are rounded, halves away from 0.
/// Bilinear: coordinates are truncated toward 0, negative ones too, and their fractions give the
/// four weights; the sums, in double, are truncated.
using RotateRun = void (*)(const RotateSource& source, const RotateRows& rows, std::size_t count);

/// The same as the bilinear one where every pixel read is `pixel`. The result isn't always that
/// pixel: the weights add up to 1 only nearly.
using RotateFlatRun = void (*)(const std::uint8_t* pixel, const RotateRows& rows,
                               std::size_t count);

/// The inner loops of the library for one instruction set.
///
/// Example: `fnKernels().fnRgb24ToBgrx32(row, screenRow, width);`
struct Kernels {
    KernelLevel m_eLevel;

    // Pixel formats.
    PixelRun fnRgb565ToBgr24;
    PixelRun fnRgb565ToBgrx32; ///< the fourth byte is 0
    PixelRun fnRgb565ToRgb24;
    PixelRun fnRgb565ToArgb32; ///< alpha 255
    PixelRun fnRgb24ToBgr24;   ///< in place; its own inverse
    PixelRun fnRgb24ToBgrx32;  ///< the fourth byte is 0
    PixelRun fnRgb24ToArgb32;  ///< alpha 255
    PixelRun fnArgb32ToBgr24;  ///< alpha dropped
    PixelRun fnArgb32ToRgb24;  ///< alpha dropped
    PixelRun fnArgb32ToBgra32; ///< the four bytes reversed, in place; its own inverse
    PixelRun fnSwap16;         ///< the two bytes swapped, in place; its own inverse
    /// In place. The source is 5-5-5 stored low byte first; its top bit is dropped, and the low
    /// green bit of the result is 0.
    PixelRun fnRgb555LeToRgb565;
    /// In place. The low green bit is dropped; the result is stored low byte first, top bit 0.
    PixelRun fnRgb565ToRgb555Le;

    // Palette indices.
    /// Unpacks two indices a byte, the first in the high nibble, to one index a byte. Reads (count
    /// + 1) / 2 bytes; for an odd count only the high nibble of the last one is used.
    PixelRun fnIndex4ToIndex8;
    PaletteRun fnIndex8ToBgr24;
    PaletteRun fnIndex8ToBgrx32; ///< the palette entry as it is, reserved byte included
    PaletteRun fnIndex8ToRgb24;
    PaletteRun fnIndex8ToArgb32; ///< alpha 255

    // Tone.
    CurveRun fnCurve8;                   ///< every byte
    CurveRun fnCurve24;                  ///< all three bytes of a pixel
    CurveRun fnCurve32;                  ///< the first three bytes of a pixel, the fourth stays
    ChannelCurvesRun fnChannelCurves565; ///< the result is truncated to 5, 6 and 5 bits
    ChannelCurvesRun fnChannelCurves24;  ///< Rgb24
    ChannelCurvesRun fnChannelCurves32;  ///< Argb32; alpha stays
    ThresholdRun fnThreshold;            ///< 0 below the level, else 255; `count` is in bytes
    /// Two bytes a pixel: red is the high five bits of the first byte and blue the low five of the
    /// second, but green is bits 5 to 10 of both taken low byte first. The result is 5-6-5 stored
    /// low byte first. Both are deliberate: a pixel comes back with its bytes exchanged.
    HueRun fnHueShift16;
    HueRun fnHueShift24; ///< Rgb24
    HueRun fnHueShift32; ///< Argb32; alpha stays

    // Dither. A colour component of 255 where the threshold is 0 reaches level 6, beyond the
    // palette's six levels, and adds nothing to the index. This is deliberate:
    // white becomes index 0 in those cells.
    DitherRun fnDither16; ///< Rgb565
    DitherRun fnDither24; ///< Rgb24
    DitherRun fnDither32; ///< Argb32; alpha is skipped
    /// Three bytes a pixel, whatever their meaning. A byte is rounded up when its low three bits
    /// are above the pattern's value, else down. So values of 7 and more never round up,
    /// deliberately.
    HiColorRun fnHiColorDither;

    // Zoom, by bytes a pixel: element 0 for one byte to element 3 for four.
    InflateRun fnInflate[4];
    ShrinkRun fnShrink[4];
    SampleRun fnSample[4];

    // Fill, by bytes a pixel: element 0 for one byte to element 3 for four. Long runs bypass the
    // caches.
    FillRun fnFill[4];
    RowsRun fnCopyRows; ///< for parts of a tile, whose rows are too short to copy one by one

    // Merge. A weight of 0 leaves the target, 255 takes the source, and any other gives the lesser
    // of 255 and target x (255 - weight) + source x weight for each channel: no division follows,
    // deliberately.
    //
    // At 16 bits, red is the first byte without its low three bits, blue the second byte's low five
    // bits as the high ones, and green is 0. What is written is stored low byte first, so red ends
    // up in the second byte and blue in the first. Both are deliberate.
    KeyRun fnMergeKey16; ///< all pixels but those of the key colour; a key with green never matches
    KeyRun fnMergeKey24; ///< all pixels but those of the key colour
    WeightRun fnMergeMask16;
    WeightRun fnMergeMask24;
    PixelRun fnMergeAll16; ///< as if every weight were 255

    // Masks, a byte a pixel: the second is added to or subtracted from the first. A sum that
    // overflows a signed byte becomes 255: so 100 and 100 give 255, but 200 and 100 give 44. This
    // is deliberate. A difference below 0 is 0.
    MaskSumRun fnMaskAdd;
    MaskSumRun fnMaskSubtract;

    // The cubic filter. In lanes, byte i of row r is at i * kFilterLanes + r.
    ConvolveRowsRun fnConvolveRows;
    ConvolveLanesRun fnConvolveLanes;
    ConvolveRowsFixedRun fnConvolveRowsFixed;
    ConvolveLanesFixedRun fnConvolveLanesFixed;
    BytesToFloatsRun fnBytesToFloats;
    RowsToLanesRun fnRowsToLanes;
    ReadLanesRun fnReadLanes;
    LanesToRowsRun fnLanesToRows;
    bool m_bPrefersQuads; ///< whether the sums in quads are faster than the others
    ConvolveQuadRowsRun fnConvolveQuadRows;
    ConvolveQuadsRun fnConvolveQuads;
    RowsToQuadsRun fnRowsToQuads;
    ConvolveLinesRun fnConvolveLines;

    // Rotation: by 90 degrees, as a transposition, and by any angle.
    TransposeRun fnTranspose[4]; ///< by bytes a pixel: element 0 for one to element 3 for four
    RotateRun fnRotateNearest8;
    RotateRun fnRotateNearest24;
    RotateRun fnRotateNearest32;
    /// The sum is p00 w00 + p01 w01 + p10 w10 + p11 w11, from the left.
    RotateRun fnRotateBilinear8;
    /// Each byte separately. The sum is p11 w11 + p01 w01 + p10 w10 + p00 w00, from the left.
    RotateRun fnRotateBilinear24;
    RotateRun fnRotateBilinear32;
    RotateFlatRun fnRotateFlat8;
    RotateFlatRun fnRotateFlat24;
    RotateFlatRun fnRotateFlat32;

    // Streaming.
    /// Copies `count` bytes, bypassing the caches: for a large target that isn't read soon. Call
    /// fnStreamEnd after a series of calls, before another thread reads the target. See
    /// StreamPixels_p.h.
    PixelRun fnStreamCopy;
    void (*fnStreamEnd)();
};

/// The active table: that of the highest level that the processor has, unless the environment
/// variable Q32_KERNELS caps it. Chosen at the first call; later calls return the same table.
const Kernels& fnKernels();

/// The level to use where the processor's highest is `highest` and Q32_KERNELS is `cap`: "scalar",
/// "avx2" or "avx512", in lower case. A cap above `highest`, any other text, and null for an unset
/// variable have no effect.
KernelLevel fnChooseLevel(const char* cap, KernelLevel highest);

/// The table of one level, whatever the cap, or null where the processor or the build lacks it. For
/// tests and benchmarks.
const Kernels* fnKernelsOfLevel(KernelLevel level);

} // namespace q32
