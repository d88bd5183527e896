/// @file
/// Blur and unsharp mask.
#pragma once

#include "q32Base/platform/Export.h"

class CqImage;
class CqProgressDisplay;

/// A larger standard deviation of a blur counts as this, in pixels.
inline constexpr double kMaxBlurSigma = 1000.0;

/// Blurs an 8-bit grey, 24-bit or 32-bit image, in a time that doesn't depend on `sigma`. Pixels
/// beyond an edge are those at the edge. The colours of 32-bit pixels count by their alpha.
///
/// In each direction, first across and then down, the image is convolved with one kernel of
/// integers, three boxes convolved with each other (P. Kovesi, Fast Almost-Gaussian Filtering,
/// 2010), so close to a Gaussian function:
/// - A box of odd width w has the variance (w x w - 1) / 12. Their least width is the greatest odd
///   number up to the square root of 4 sigma^2 + 1; of the three, 0 to 3 are wider by 2.
/// - If the least width is below 17, a fourth kernel of f, 256 - 2 f and f follows, with the
///   variance f / 128: f is 128 x the variance that is still missing, rounded, from 0 to 85.
/// - The number of wider boxes is the one whose total variance is closest to sigma^2, the first of
///   several.
///
/// Sums are exact. At 8 and 24 bits, the sum of kernel x byte is divided by the sum of the kernel
/// and rounded to nearest. At 32 bits, alpha is computed in the same way, and a channel is the sum
/// of kernel x alpha x channel, divided by the sum of kernel x alpha and rounded to nearest, halves
/// up; it is 0 where alpha becomes 0. The second direction begins with the bytes of the first.
///
/// Takes a second storage of the image's size, and besides some lines around the one that is
/// computed. Returns false, with the image unchanged, after an abort, for an image of any other
/// kind or without storage, and for a sigma that isn't above 0. Raises the memory exception, with
/// the image unchanged. Called from the thread that uses the image.
/// @param sigma     standard deviation, in pixels
/// @param progress  may be null
Q32_API bool q32Blur(CqImage& image, double sigma, CqProgressDisplay* progress);

/// How many pixels to each side a blurred pixel depends on. A rectangle of an image is blurred
/// exactly as in the whole image if so many pixels around it are blurred with it.
Q32_API unsigned int q32GetBlurReach(double sigma);

/// Sharpens an image by an unsharp mask: adds to each colour channel a part of its difference from
/// the blurred image. Where the difference is d, and at least `threshold`, a channel changes by
/// d x amount / 100, rounded to nearest, halves away from 0, and is clamped to 0 to 255. Alpha
/// stays, and so do pixels whose alpha is 0.
///
/// Takes and returns the same as `q32Blur`, and fails in the same ways.
/// @param amount     percent; more than 10,000 counts as that
/// @param threshold  0 and 1 sharpen every pixel
Q32_API bool q32Sharpen(CqImage& image, double sigma, unsigned int amount, unsigned int threshold,
                        CqProgressDisplay* progress);
