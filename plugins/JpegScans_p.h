#pragma once

#include <cstddef>
#include <functional>

namespace q32 {

class CodecInput;

/// Counts the scans of a JPEG file that begin behind the input's position, which must lie in the
/// coded data of a scan: marks are read, not pixels. Ends at the end of the picture, at the end of
/// the file, where reading fails, and beyond `most` scans; the position is then anywhere.
unsigned int fnCountJpegScans(CodecInput& input, unsigned int most);

/// Returns the next bytes of a JPEG, valid until the next call, and their number, 0 at the end.
using JpegBytes = std::function<const unsigned char*(std::size_t& count)>;

/// Whether libjpeg decodes a JPEG row by row, without storing its coefficients: it is sequential,
/// and its first scan has all components. True for bytes without a scan, too. Reads from the start
/// of the JPEG up to the header of that scan.
bool fnIsJpegDecodedByRows(const JpegBytes& bytes);

} // namespace q32
