#pragma once

namespace q32 {

class CodecInput;

/// Counts the scans of a JPEG file that begin behind the input's position, which must lie in the
/// coded data of a scan: marks are read, not pixels. Ends at the end of the picture, at the end of
/// the file, where reading fails, and beyond `most` scans; the position is then anywhere.
unsigned int fnCountJpegScans(CodecInput& input, unsigned int most);

} // namespace q32
