/// @file Picture files and what is done to complete pictures on their way. All throw Failure, which
/// names the file and the cause, Interrupted, and the memory exception.
#pragma once

#include "plugins/PictureFile.h"
#include "q32Base/image/CqColor.h"

#include <cstdint>
#include <string>

class CqImage;

namespace tool {

class Session;

/// Width and height in pixels.
struct Extent {
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
};

/// What a file holds apart from its pixels.
struct FileFacts {
    bool m_bReduced = false; ///< as in CqPictureResult
};

FileFacts fnReadFile(const std::string& path, CqImage& image, Session& session);
/// The same for a picture that is to be reduced: where the format can, it is decoded at a fraction
/// of its size, but no smaller than `fit` in both directions.
FileFacts fnReadFile(const std::string& path, CqImage& image, const Extent& fit, Session& session);

/// The format of a name's extension. Throws UsageError for one that can't be written.
const CqPictureFormat& fnRequireFormat(const std::string& path);
/// Saves in the format of the extension, with the options of the command line. A picture with an
/// alpha channel is changed to one over the background if the format has none.
void fnSaveFile(const std::string& path, CqImage& image, Session& session);

enum class Depth { RGB24, ARGB32, GREY8 };

/// Converts a picture; nothing happens if it has that depth.
void fnConvertDepth(CqImage& image, Depth depth, Session& session);
/// Converts a palette and 16 bits to 24 bits.
void fnMakeTrueColor(CqImage& image, Session& session);
/// The same, but 8-bit greys stay.
void fnMakeTones(CqImage& image, Session& session);
/// Lays a picture of 32 bits over a colour; it then has 24 bits.
void fnFlattenAlpha(CqImage& image, const CqColor& background, Session& session);

/// Throws Failure for a picture that no image can hold.
void fnRequireRoom(std::uint64_t width, std::uint64_t height, unsigned int bits);

} // namespace tool
