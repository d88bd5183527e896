#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PngHandle_p.h"

#include <png.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <numeric>
#include <span>
#include <vector>
#include <zlib.h>

namespace q32 {

namespace {

void fnPngWrite(png_structp png, png_bytep bytes, std::size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (!state->m_pOutput->fnWrite(bytes, count))
        png_error(png, "not written");
}

void fnPngFlush(png_structp) {}

/// The libpng objects for writing one file.
class PngWriter {
public:
    explicit PngWriter(CodecOutput& output) { m_State.m_pOutput = &output; }
    ~PngWriter() { png_destroy_write_struct(&m_pPng, &m_pInfo); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void fnOpen();
    void fnWrite(PictureSource& source, const CqPictureOptions& options);

private:
    template <typename Call>
    void fnCall(const Call& call) {
        const bool done = fnGuardJump(m_State.m_Jump, call);
        if (m_State.m_bNoMemory)
            throw CodecFailure{MESSAGE_NO_MEMORY};
        if (!done)
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
    }
    void fnDescribe(const PictureSource& source);
    void fnWriteChunk(const char* type, std::initializer_list<std::span<const unsigned char>> data);
    void fnWriteMetadata(const CqPictureMetadata& metadata);

    PngState m_State;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
};

void PngWriter::fnOpen() {
    fnCall([this] {
        m_pPng = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &m_State, fnPngError,
                                           fnPngWarning, &m_State, fnPngAlloc, fnPngFree);
        m_pInfo = m_pPng ? png_create_info_struct(m_pPng) : nullptr;
    });
    if (!m_pInfo)
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

int fnPngColorType(const PictureSource& source) {
    if (source.fnGetBitCount() > 8)
        return source.fnGetBitCount() == 32 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
    return source.fnIsGrey() ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE;
}

/// Called inside `fnCall`.
void PngWriter::fnDescribe(const PictureSource& source) {
    const int type = fnPngColorType(source);
    const int depth = source.fnGetBitCount() == 4 ? 4 : 8;
    png_set_IHDR(m_pPng, m_pInfo, source.fnGetWidth(), source.fnGetHeight(), depth, type,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (type == PNG_COLOR_TYPE_PALETTE) {
        png_color colors[256];
        const RGBQUAD* palette = source.fnGetColors();
        const auto count = static_cast<int>(source.fnGetColorCount());
        std::transform(palette, palette + count, colors, [](const RGBQUAD& color) {
            return png_color{color.rgbRed, color.rgbGreen, color.rgbBlue};
        });
        png_set_PLTE(m_pPng, m_pInfo, colors, count);
    }
    if (source.fnGetDotsPerMeterX() > 0)
        png_set_pHYs(m_pPng, m_pInfo, source.fnGetDotsPerMeterX(), source.fnGetDotsPerMeterY(),
                     PNG_RESOLUTION_METER);
    if (*source.fnGetTitle()) {
        png_text text = {};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = const_cast<char*>(kPngTitleKey);
        text.text = const_cast<char*>(source.fnGetTitle());
        png_set_text(m_pPng, m_pInfo, &text, 1);
    }
}

void PngWriter::fnWriteChunk(const char* type,
                             std::initializer_list<std::span<const unsigned char>> data) {
    const auto size =
        std::accumulate(data.begin(), data.end(), std::size_t{0},
                        [](std::size_t sum, const auto& piece) { return sum + piece.size(); });
    png_write_chunk_start(m_pPng, reinterpret_cast<png_const_bytep>(type),
                          static_cast<png_uint_32>(size));
    for (const auto& piece : data)
        if (!piece.empty())
            png_write_chunk_data(m_pPng, piece.data(), piece.size());
    png_write_chunk_end(m_pPng);
}

/// Writes the chunks that must precede the palette and the pixels, between the header and these.
void PngWriter::fnWriteMetadata(const CqPictureMetadata& metadata) {
    // Name of the profile and kind of compression; key, no compression, no languages.
    constexpr unsigned char kProfileHead[] = {'I', 'C', 'C', 0, 0};
    constexpr unsigned char kXmpHead[] = "XML:com.adobe.xmp\0\0\0\0";
    const auto whole = static_cast<uLong>(metadata.m_Profile.size()); // 2^30 at most
    uLongf size = whole == 0 ? 0 : compressBound(whole);
    std::vector<unsigned char> packed(size);
    if (whole != 0 && compress(packed.data(), &size, metadata.m_Profile.data(), whole) != Z_OK)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    packed.resize(size);
    fnCall([&] {
        png_write_info_before_PLTE(m_pPng, m_pInfo);
        if (!packed.empty())
            fnWriteChunk("iCCP", {kProfileHead, packed});
        if (!metadata.m_Exif.empty())
            fnWriteChunk("eXIf", {metadata.m_Exif});
        if (!metadata.m_Xmp.empty())
            fnWriteChunk("iTXt", {kXmpHead, metadata.m_Xmp});
    });
}

void PngWriter::fnWrite(PictureSource& source, const CqPictureOptions& options) {
    const unsigned int bits = source.fnGetBitCount();
    fnCall([&] {
        png_set_write_fn(m_pPng, &m_State, fnPngWrite, fnPngFlush);
        png_set_user_limits(m_pPng, kMaxPngSide, kMaxPngSide);
        png_set_compression_level(m_pPng, static_cast<int>(std::min(options.m_nPngEffort, 9u)));
        fnDescribe(source);
    });
    fnWriteMetadata(source.fnGetMetadata());
    fnCall([&] {
        png_write_info(m_pPng, m_pInfo);
        if (bits == 4)
            png_set_packing(m_pPng);
        if (bits == 32)
            png_set_swap_alpha(m_pPng);
    });
    const std::uint32_t height = source.fnGetHeight();
    const auto row = std::make_unique_for_overwrite<unsigned char[]>(
        std::size_t{source.fnGetWidth()} * std::max(fnCodecBytes(bits), bits == 16 ? 3u : 1u));
    for (std::uint32_t y = 0; y < height; ++y) {
        if (bits == 16)
            source.fnFetchRgb(y, row.get());
        else
            source.fnFetchRow(y, row.get());
        fnCall([&] { png_write_row(m_pPng, row.get()); });
        source.fnReport(y + 1, height);
    }
    fnCall([this] { png_write_end(m_pPng, nullptr); });
}

} // namespace

void fnWritePng(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    PngWriter writer(output);
    writer.fnOpen();
    writer.fnWrite(source, options);
}

} // namespace q32
