#pragma once

struct tiff;

namespace q32 {

class CodecInput;
class PictureSteps;
class TiffTags;

/// Throws MESSAGE_UNSUPPORTED if a strip or tile is a JPEG that isn't decoded row by row: a
/// progressive one, or one whose components lie in scans of their own. libjpeg would store all of
/// its coefficients, and decode any number of scans in one call; no limit of the host would apply.
/// Files of other compressions pass. Each strip or tile is read up to its first scan; the input's
/// position changes.
/// @param tags  what libtiff gets in place of the file's directory
void fnRefuseJpegScans(tiff* file, CodecInput& input, const TiffTags& tags, PictureSteps& steps);

} // namespace q32
