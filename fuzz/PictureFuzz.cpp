/// @file Picture files of one format, that of the target's name: for any bytes, reading ends with a
/// picture or a message, also if damaged files are accepted. The metadata that is read can be
/// written, and comes back. Checksums of a PNG are put right, which no mutation would do.

#include "fuzz/FuzzInput.h"
#include "plugins/PictureFile.h"

#include <array>
#include <cstring>
#include <string>

namespace {

using namespace q32::fuzz;

constexpr char kPath[] = "C:\\Temp\\picture";

struct Format {
    std::string_view m_Target;
    std::string_view m_Signature;
    unsigned int m_nFormat;
};

constexpr Format kFormats[] = {
    {"png", "\x89PNG\r\n\x1A\n", PICTURE_PNG},
    {"jpeg", "\xFF\xD8\xFF", PICTURE_JPEG},
    {"tiff", std::string_view("II*\0", 4), PICTURE_TIFF},
    {"bmp", "BM", PICTURE_BMP},
};

const Format& fnFormat() {
    for (const Format& format : kFormats)
        if (format.m_Target == Q32_FUZZ_TARGET)
            return format;
    fnCheck(false, "the target is a format");
    return kFormats[0];
}

std::uint32_t fnGet32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::uint32_t fnCrc(std::string_view bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = value >> 1 ^ (value & 1 ? 0xEDB88320u : 0u);
            made[i] = value;
        }
        return made;
    }();
    std::uint32_t crc = ~0u;
    for (const char byte : bytes)
        crc = crc >> 8 ^ table[(crc ^ static_cast<unsigned char>(byte)) & 0xFF];
    return ~crc;
}

/// Puts the checksum right of every chunk that is there whole.
void fnMendChecksums(std::string& png) {
    std::size_t at = 8;
    while (png.size() >= at + 12 && fnGet32(png, at) <= png.size() - at - 12) {
        const std::size_t length = fnGet32(png, at);
        const std::uint32_t crc = fnCrc(std::string_view(png).substr(at + 4, length + 4));
        at += 8 + length;
        for (unsigned int shift = 32; shift > 0; ++at) {
            shift -= 8;
            png[at] = static_cast<char>(crc >> shift);
        }
    }
}

/// Writes a picture with metadata; what the format can hold must be what is read again.
void fnWriteBack(CqImage& image, const CqPictureMetadata& metadata, PICTURE_FORMAT format) {
    const unsigned int lost = q32FindLostMetadata(image, metadata, format);
    if (!q32WritePicture(kPath, image, metadata, format).fnIsDone())
        return; // too wide for the format
    CqImage again;
    CqPictureMetadata read;
    fnCheck(q32ReadPicture(kPath, again, read).fnIsDone(), "what was written can be read");
    fnCheck((lost & PICTURE_PART_PROFILE) != 0 || read.m_Profile == metadata.m_Profile,
            "the profile comes back");
    fnCheck((lost & PICTURE_PART_NOTES) != 0 || read.m_Xmp.size() == metadata.m_Xmp.size(),
            "the notes come back");
}

void fnRead(const std::string& file, const Format& format) {
    fnWorld().m_pDisks->fnPutFile(kPath, file);
    const Balance balance;
    CqImage image;
    CqPictureMetadata metadata;
    CqPictureLimits limits;
    const CqPictureResult result = q32ReadPicture(kPath, image, metadata);
    fnCheck(result.fnIsDone() == (image.TileMap != nullptr), "a picture or a message");
    fnCheck(!image.TileMap || image.fnGetFioPlugin() == format.m_nFormat, "of that format");
    limits.m_bPartial = true;
    CqImage part;
    const CqPictureResult partial = q32ReadPicture(kPath, part, limits);
    fnCheck(partial.fnIsDone() == (part.TileMap != nullptr), "a picture or a message");
    fnCheck(!result.fnIsDone() || partial.fnIsDone(), "what is whole can be read as a part");
    constexpr std::uint64_t kMaxPixels = 4096; // so that writing takes little of the time
    if (image.TileMap && std::uint64_t{image.Width} * image.Height <= kMaxPixels)
        for (const PICTURE_FORMAT one : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF})
            fnWriteBack(image, metadata, one);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Format& format = fnFormat();
    std::string file(fnText(data, size));
    // Big-endian TIFF files keep their own signature.
    if (file.size() >= format.m_Signature.size() && !file.starts_with("MM"))
        format.m_Signature.copy(file.data(), format.m_Signature.size());
    fnRead(file, format);
    if (format.m_nFormat == PICTURE_PNG) {
        std::string mended = file;
        fnMendChecksums(mended);
        if (mended != file)
            fnRead(mended, format);
    }
    return 0;
}
