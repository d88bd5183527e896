/// @file Picture files of one format, that of the target's name: for any bytes, reading ends with a
/// picture or a message, also if damaged files are accepted, and the same ones however the work is
/// divided. The metadata that is read can be
/// written, and comes back. The headers alone declare what is read. An input that doesn't begin
/// with the signature of the format begins with a host's limits, which the picture then keeps.
/// Checksums of a PNG are put right, which no mutation would do.

#include "fuzz/FuzzInput.h"
#include "plugins/PictureFile.h"
#include "plugins/WebFormats.h"

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>

namespace {

using namespace q32::fuzz;

constexpr std::size_t kLimitBytes = 9;
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
    {"gif", "GIF89a", PICTURE_GIF},
    {"webp", "RIFF", PICTURE_WEBP},
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

/// A byte for each limit; 0 leaves the default.
CqPictureLimits fnMakeLimits(Input& input) {
    CqPictureLimits limits;
    const auto set = [&input](auto& limit, unsigned int unit) {
        if (const unsigned int value = input.fnByte())
            limit = std::remove_reference_t<decltype(limit)>{unit} * value;
    };
    const auto setPower = [&input](std::uint64_t& limit, unsigned int most) {
        if (const unsigned int value = input.fnByte())
            limit = std::uint64_t{1} << value % most;
    };
    setPower(limits.m_nPixels, 24);
    setPower(limits.m_nStorageBytes, 24);
    setPower(limits.m_nCodecBytes, 28);
    setPower(limits.m_nTextBytes, 12);
    setPower(limits.m_nSmallBytes, 20);
    set(limits.m_nExpansion, 1);
    set(limits.m_nScans, 1);
    set(limits.m_nFitWidth, 4);
    set(limits.m_nFitHeight, 4);
    // No bytes of their own: the corpus keeps its meaning.
    limits.m_bDither = limits.m_nFitHeight / 4 % 2 != 0;
    if (limits.m_nFitWidth / 4 % 2 != 0)
        limits.m_nMetadataBytes = limits.m_nTextBytes;
    if (limits.m_nFitWidth / 8 % 2 != 0)
        limits.m_nMilliseconds = 1;
    return limits;
}

void fnCheckLimits(const CqPictureLimits& limits, const CqPictureResult& result,
                   const CqImage& image, std::size_t fileBytes) {
    if (!result.fnIsDone()) {
        fnCheck(result.m_eLimit <= PICTURE_LIMIT_SCANS, "no other limit is set");
        return;
    }
    const std::uint64_t pixels = std::uint64_t{image.Width} * image.Height;
    const std::uint64_t bytes = std::uint64_t{image.RowBytes} * image.Height;
    fnCheck(result.m_eLimit == PICTURE_LIMIT_NONE, "a picture that was read keeps the limits");
    fnCheck(pixels <= limits.m_nPixels, "of pixels");
    fnCheck(bytes <= limits.m_nStorageBytes, "of storage");
    fnCheck(bytes <= limits.m_nSmallBytes || bytes / limits.m_nExpansion <= fileBytes,
            "of expansion");
    fnCheck(static_cast<std::uint64_t>(image.Title.GetLength()) <= limits.m_nTextBytes, "of texts");
}

/// A read that may end at any time, since a millisecond is soon over.
void fnReadHastily(const CqPictureLimits& limits) {
    CqImage image;
    CqPictureMetadata metadata;
    const CqPictureResult result = q32ReadPicture(kPath, image, metadata, limits);
    fnCheck(result.fnIsDone() == (image.TileMap != nullptr), "a picture or a message");
    fnCheck(result.m_eLimit != PICTURE_LIMIT_TIME || result.m_nMsgId == -4,
            "the end of the time is a message");
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

/// What is known of a picture without its pixels must be what was read with them.
void fnDescribe(const CqImage& image, const CqPictureLimits& limits) {
    CqPictureFacts facts;
    CqPictureMetadata metadata;
    const CqPictureResult result = q32DescribePicture(kPath, facts, &metadata, limits);
    fnCheck(result.fnIsDone() == (facts.m_nWidth > 0), "facts or a message");
    if (!image.TileMap)
        return;
    fnCheck(result.fnIsDone(), "what can be read can be described");
    fnCheck(facts.m_nWidth == image.Width && facts.m_nHeight == image.Height &&
                facts.m_nBitCount == image.BitCount && facts.m_nColors == image.PaletteCount,
            "as it is read");
}

/// Reads the picture again, divided among threads.
void fnReadDivided(const CqImage& image, const CqPictureResult& result,
                   const CqPictureLimits& limits) {
    CqHeadlessWork& work = *fnWorld().m_pWork;
    work.fnSetConcurrency(3);
    work.fnSetOrder(CQ_WORK_ORDER::SCRAMBLED);
    CqImage again;
    const CqPictureResult divided = q32ReadPicture(kPath, again, limits);
    work.fnSetConcurrency(1);
    if (divided.m_nMsgId == -1)
        return; // the other picture is still there
    fnCheck(divided.m_nMsgId == result.m_nMsgId && divided.m_eLimit == result.m_eLimit,
            "threads change no answer");
    fnCheck(divided.m_bPartial == result.m_bPartial, "nor whether the picture is whole");
    fnCheck(!image.TileMap || fnRows(again) == fnRows(image), "nor a pixel");
}

void fnRead(const std::string& file, const Format& format, CqPictureLimits limits) {
    fnWorld().m_pDisks->fnPutFile(kPath, file);
    const Balance balance;
    if (limits.m_nMilliseconds > 0)
        fnReadHastily(limits);
    limits.m_nMilliseconds = 0;
    CqImage image;
    CqPictureMetadata metadata;
    const CqPictureResult result = q32ReadPicture(kPath, image, metadata, limits);
    fnCheck(result.fnIsDone() == (image.TileMap != nullptr), "a picture or a message");
    fnCheck(metadata.m_Exif.size() + metadata.m_Xmp.size() + metadata.m_Iptc.size() +
                    metadata.m_Profile.size() <=
                limits.m_nMetadataBytes,
            "within the limit of metadata");
    fnCheck(!image.TileMap || image.fnGetFioPlugin() == format.m_nFormat, "of that format");
    fnCheckLimits(limits, result, image, file.size());
    fnDescribe(image, limits);
    fnReadDivided(image, result, limits);
    limits.m_bPartial = true;
    CqImage part;
    const CqPictureResult partial = q32ReadPicture(kPath, part, limits);
    fnReadDivided(part, partial, limits);
    fnCheck(partial.fnIsDone() == (part.TileMap != nullptr), "a picture or a message");
    // The other picture is still there, so that memory may not suffice for this one.
    fnCheck(!result.fnIsDone() || partial.fnIsDone() || partial.m_nMsgId == -1,
            "what is whole can be read as a part");
    constexpr std::uint64_t kMaxPixels = 4096; // so that writing takes little of the time
    if (image.TileMap && std::uint64_t{image.Width} * image.Height <= kMaxPixels)
        for (const PICTURE_FORMAT one : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF})
            fnWriteBack(image, metadata, one);
}

/// TIFF files that are big-endian or have wide offsets keep their own signature.
bool fnIsFile(std::string_view bytes, const Format& format) {
    return bytes.starts_with(format.m_Signature) ||
           (format.m_nFormat == PICTURE_TIFF &&
            (bytes.starts_with("MM") || bytes.starts_with("II+")));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Format& format = fnFormat();
#ifdef Q32_FUZZ_WEB_FORMATS
    static const bool added = q32AddWebFormats();
    fnCheck(added, "the formats can be added");
#endif
    CqPictureLimits limits;
    if (!fnIsFile(fnText(data, size), format)) {
        Input input(data, size);
        limits = fnMakeLimits(input);
        const std::size_t used = std::min(size, kLimitBytes);
        data += used;
        size -= used;
    }
    std::string file(fnText(data, size));
    if (file.size() >= format.m_Signature.size() && !fnIsFile(file, format))
        format.m_Signature.copy(file.data(), format.m_Signature.size());
    fnRead(file, format, limits);
    if (format.m_nFormat == PICTURE_PNG) {
        std::string mended = file;
        fnMendChecksums(mended);
        if (mended != file)
            fnRead(mended, format, limits);
    }
    return 0;
}
