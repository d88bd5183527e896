#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/Dither16_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/PngChunks_p.h"
#include "plugins/PngHandle_p.h"

#include <png.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace q32 {

namespace {

/// Deflate expands a byte to at most 1032 bytes.
constexpr std::uint64_t kMaxRatio = 1032;
constexpr int kPngSignatureBytes = 8;

void fnPngRead(png_structp png, png_bytep out, std::size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (!state->m_pChunks->fnRead(out, count))
        png_error(png, "ended early");
}

bool fnKnowsPng(const unsigned char* head, std::size_t count) {
    return count >= kPngSignatureBytes && png_sig_cmp(head, 0, kPngSignatureBytes) == 0;
}

/// The libpng objects for reading one file. Every call into libpng goes through `fnCall`.
class PngReader {
public:
    PngReader(CodecInput& input, PictureTarget& target)
        : m_Target(target),
          m_Chunks(input, target.fnGetLimits().m_nTextBytes, target.fnGetMetadata() != nullptr,
                   target.fnGetLimits().m_bPartial) {
        m_State.m_pInput = &input;
        m_State.m_pChunks = &m_Chunks;
        m_State.m_nFree = target.fnGetLimits().m_nCodecBytes;
    }
    ~PngReader() { png_destroy_read_struct(&m_pPng, &m_pInfo, &m_pEnd); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    template <typename Call>
    void fnCall(const Call& call) {
        const bool done = fnGuardJump(m_State.m_Jump, call);
        // When memory is exhausted for something optional, libpng only warns.
        if (m_State.m_bNoMemory)
            throw CodecFailure{MESSAGE_NO_MEMORY, m_State.m_eLimit};
        if (!done)
            m_State.m_pInput->fnFail(CodecFailure{MESSAGE_CORRUPTED});
    }

    void fnOpen();
    void fnReadHeader();
    void fnSetConversion();
    void fnAllocImage();
    void fnReadRows();
    void fnSkipRows();
    void fnTakeNotes();

private:
    void fnReadPasses();
    void fnNarrow(const unsigned char* wide, std::uint32_t y, int pass, unsigned char* row) const;
    unsigned int fnTakeTitles(png_infop info);

    PictureTarget& m_Target;
    PngChunks m_Chunks;
    PngState m_State;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    png_infop m_pEnd = nullptr;
    png_uint_32 m_nWidth = 0;
    png_uint_32 m_nHeight = 0;
    int m_nDepth = 0;
    int m_nColorType = 0;
    int m_nPasses = 1;
    bool m_bWide = false;         ///< rows come with 16 bits per sample, and are dithered here
    unsigned int m_nBitCount = 0; ///< of the image, not of the file
};

void PngReader::fnOpen() {
    fnCall([this] {
        m_pPng = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &m_State, fnPngError, fnPngWarning,
                                          &m_State, fnPngAlloc, fnPngFree);
        m_pInfo = m_pPng ? png_create_info_struct(m_pPng) : nullptr;
        m_pEnd = m_pInfo ? png_create_info_struct(m_pPng) : nullptr;
    });
    if (!m_pEnd)
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

void PngReader::fnReadHeader() {
    fnCall([this] {
        png_set_read_fn(m_pPng, &m_State, fnPngRead);
        png_set_user_limits(m_pPng, kMaxPngSide, kMaxPngSide);
        png_set_chunk_malloc_max(m_pPng, m_Target.fnGetLimits().m_nTextBytes);
        png_read_info(m_pPng, m_pInfo);
        png_get_IHDR(m_pPng, m_pInfo, &m_nWidth, &m_nHeight, &m_nDepth, &m_nColorType, nullptr,
                     nullptr, nullptr);
    });
    PictureTarget::fnCheckRoom(m_State.m_pInput->fnGetLength(), png_get_rowbytes(m_pPng, m_pInfo),
                               m_nHeight, kMaxRatio);
}

void PngReader::fnSetConversion() {
    const bool transparent = png_get_valid(m_pPng, m_pInfo, PNG_INFO_tRNS) != 0;
    const bool alpha = transparent || (m_nColorType & PNG_COLOR_MASK_ALPHA) != 0;
    const bool palette = m_nColorType == PNG_COLOR_TYPE_PALETTE;
    const bool grey = (m_nColorType & PNG_COLOR_MASK_COLOR) == 0;
    if (alpha)
        m_nBitCount = 32;
    else if (palette)
        m_nBitCount = m_nDepth <= 4 ? 4 : 8;
    else
        m_nBitCount = grey ? 8 : 24;
    m_Target.fnCheckSize(m_nWidth, m_nHeight, m_nBitCount);
    m_bWide = m_nDepth == 16 && m_Target.fnGetLimits().m_bDither;
    fnCall([&] {
        if (m_nDepth == 16 && !m_bWide)
            png_set_scale_16(m_pPng);
        if (transparent)
            png_set_expand(m_pPng);
        else if (palette)
            png_set_packing(m_pPng);
        else if (grey && m_nDepth < 8)
            png_set_expand_gray_1_2_4_to_8(m_pPng);
        if (alpha && grey)
            png_set_gray_to_rgb(m_pPng);
        if (alpha)
            png_set_swap_alpha(m_pPng);
        // Indices beyond the palette are deliberately no error: they are black.
        png_set_check_for_invalid_index(m_pPng, -1);
        m_nPasses = png_set_interlace_handling(m_pPng);
        png_read_update_info(m_pPng, m_pInfo);
    });
    const std::size_t rowBytes = std::size_t{m_nWidth} * fnCodecBytes(m_nBitCount);
    if (png_get_rowbytes(m_pPng, m_pInfo) != (m_bWide ? 2 * rowBytes : rowBytes))
        throw CodecFailure{MESSAGE_CORRUPTED};
}

void PngReader::fnAllocImage() {
    if (m_nBitCount > 8) {
        m_Target.fnAlloc(m_nWidth, m_nHeight, m_nBitCount, nullptr, 0);
        return;
    }
    png_colorp colors = nullptr;
    int count = 0;
    if (m_nColorType != PNG_COLOR_TYPE_PALETTE) {
        m_Target.fnAlloc(m_nWidth, m_nHeight, m_nBitCount, q32GreyRamp, 256);
        return;
    }
    fnCall([&] { png_get_PLTE(m_pPng, m_pInfo, &colors, &count); });
    RGBQUAD palette[256] = {};
    count = std::clamp(count, 0, 1 << m_nBitCount);
    std::transform(colors, colors + count, palette, [](const png_color& color) {
        return RGBQUAD{color.blue, color.green, color.red, 0};
    });
    m_Target.fnAlloc(m_nWidth, m_nHeight, m_nBitCount, palette, static_cast<unsigned int>(count));
}

void PngReader::fnReadRows() {
    try {
        fnReadPasses();
        fnCall([this] { png_read_end(m_pPng, m_pEnd); });
    } catch (const CodecFailure& failure) {
        // What can't be decoded, and nothing else, leaves a part of the picture.
        if (!m_Target.fnGetLimits().m_bPartial || failure.m_eMessage != MESSAGE_CORRUPTED)
            throw;
        m_Target.fnNotePartial();
    }
}

void PngReader::fnSkipRows() {
    if (m_Chunks.fnSkipRest())
        return;
    if (!m_Target.fnGetLimits().m_bPartial || m_State.m_pInput->fnHasFailed())
        m_State.m_pInput->fnFail(CodecFailure{MESSAGE_CORRUPTED});
    m_Target.fnNotePartial();
}

void PngReader::fnReadPasses() {
    // The passes of an interlaced picture are combined in the image itself: a row is read back,
    // completed by the pass, and stored.
    const std::size_t rowBytes = std::size_t{m_nWidth} * fnCodecBytes(m_nBitCount);
    const std::size_t wideBytes = m_bWide ? 2 * rowBytes : 0;
    if (rowBytes + wideBytes > m_State.m_nFree)
        throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
    const auto row = std::make_unique<unsigned char[]>(rowBytes);
    const auto wide = std::make_unique<unsigned char[]>(wideBytes);
    unsigned char* const read = m_bWide ? wide.get() : row.get();
    const std::uint64_t total = std::uint64_t{m_nHeight} * static_cast<unsigned int>(m_nPasses);
    std::uint64_t done = 0;
    for (int pass = 0; pass < m_nPasses; ++pass) {
        for (png_uint_32 y = 0; y < m_nHeight; ++y) {
            const bool touched = m_nPasses == 1 || PNG_ROW_IN_INTERLACE_PASS(y, pass);
            if (touched && pass > 0)
                m_Target.fnFetchRow(y, row.get());
            fnCall([&] { png_read_row(m_pPng, touched ? read : nullptr, nullptr); });
            if (touched && m_bWide)
                fnNarrow(read, y, pass, row.get());
            if (touched)
                m_Target.fnStoreRow(y, row.get());
            m_Target.fnReport(++done, total);
        }
    }
}

/// Dithers those pixels of a row that its pass contains.
void PngReader::fnNarrow(const unsigned char* wide, std::uint32_t y, int pass,
                         unsigned char* row) const {
    const std::size_t samples = fnCodecBytes(m_nBitCount);
    for (std::uint32_t x = 0; x < m_nWidth; ++x) {
        if (m_nPasses > 1 && !PNG_COL_IN_INTERLACE_PASS(x, pass))
            continue;
        const std::uint16_t threshold = fnDitherThreshold(x, y);
        for (std::size_t i = x * samples; i < (x + std::size_t{1}) * samples; ++i)
            row[i] = fnDitherSample(static_cast<std::uint16_t>(wide[2 * i] << 8 | wide[2 * i + 1]),
                                    threshold);
    }
}

/// Sets the title, the last one of several. Returns how many there are.
unsigned int PngReader::fnTakeTitles(png_infop info) {
    png_textp texts = nullptr;
    int count = 0;
    fnCall([&] { png_get_text(m_pPng, info, &texts, &count); });
    for (int i = 0; i < count; ++i) {
        if (texts[i].text && std::strcmp(texts[i].key, kPngTitleKey) == 0)
            m_Target.fnSetTitle(texts[i].text);
    }
    return static_cast<unsigned int>(count);
}

void PngReader::fnTakeNotes() {
    const unsigned int titles = fnTakeTitles(m_pInfo) + fnTakeTitles(m_pEnd);
    m_Target.fnNoteReduced(m_Chunks.fnGetParts());
    if (m_nDepth == 16)
        m_Target.fnNoteReduced(PICTURE_PART_DEPTH);
    if (titles < m_Chunks.fnGetTitles())
        m_Target.fnNoteReduced(PICTURE_PART_NOTES);
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    fnCall([&] { png_get_pHYs(m_pPng, m_pInfo, &x, &y, &unit); });
    if (unit == PNG_RESOLUTION_METER)
        m_Target.fnSetDotsPerMeter(x, y);
}

void fnReadPng(CodecInput& input, PictureTarget& target) {
    PngReader reader(input, target);
    reader.fnOpen();
    reader.fnReadHeader();
    reader.fnSetConversion();
    reader.fnAllocImage();
    if (target.fnNeedsPixels())
        reader.fnReadRows();
    else
        reader.fnSkipRows();
    reader.fnTakeNotes();
    fnCollectMetadata(input, target,
                      [&](MetadataTarget& blocks) { fnTakePngMetadata(input, blocks); });
}

} // namespace

const PictureCodec kPngCodec = {
    {PICTURE_PNG, "PNG", "png", true, true}, fnKnowsPng, fnReadPng, fnWritePng};

} // namespace q32
