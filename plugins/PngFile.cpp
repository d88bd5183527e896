#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/PngChunks_p.h"

#include <png.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace q32 {

namespace {

constexpr png_uint_32 kMaxSide = 0x7FFFFFFF;
/// Deflate expands a byte to at most 1032 bytes.
constexpr std::uint64_t kMaxRatio = 1032;
constexpr int kPngSignatureBytes = 8;
constexpr char kTitleKey[] = "Title";

/// Ahead of each block for libpng: its size. Of the size of the strictest alignment.
struct alignas(std::max_align_t) BlockHead {
    std::size_t m_nBytes;
};

/// The state of libpng's callbacks, reached through its user pointers.
struct PngState {
    std::jmp_buf m_Jump;
    CodecInput* m_pInput = nullptr;
    PngChunks* m_pChunks = nullptr;
    CodecOutput* m_pOutput = nullptr;
    std::uint64_t m_nFree = UINT64_MAX; ///< bytes that libpng may still allocate
    bool m_bNoMemory = false;
    PICTURE_LIMIT m_eLimit = PICTURE_LIMIT_NONE; ///< the reason, if memory isn't exhausted
};

[[noreturn]] void fnPngError(png_structp png, png_const_charp) {
    std::longjmp(static_cast<PngState*>(png_get_error_ptr(png))->m_Jump, 1);
}

/// Ignored: warnings concern chunks that are unused or still readable.
void fnPngWarning(png_structp, png_const_charp) {}

png_voidp fnPngAlloc(png_structp png, png_alloc_size_t size) {
    PngState& state = *static_cast<PngState*>(png_get_mem_ptr(png));
    const auto total = (CheckedSize(size) + sizeof(BlockHead)).fnGet();
    const bool granted = total && *total <= state.m_nFree;
    void* block = granted ? ::operator new(*total, std::nothrow) : nullptr;
    if (!block) {
        state.m_bNoMemory = true;
        state.m_eLimit = granted ? PICTURE_LIMIT_NONE : PICTURE_LIMIT_CODEC;
        return nullptr;
    }
    state.m_nFree -= *total;
    return new (block) BlockHead{*total} + 1;
}

void fnPngFree(png_structp png, png_voidp block) {
    if (!block)
        return;
    BlockHead* head = static_cast<BlockHead*>(block) - 1;
    static_cast<PngState*>(png_get_mem_ptr(png))->m_nFree += head->m_nBytes;
    ::operator delete(head);
}

void fnPngRead(png_structp png, png_bytep out, std::size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (!state->m_pChunks->fnRead(out, count))
        png_error(png, "ended early");
}

void fnPngWrite(png_structp png, png_bytep bytes, std::size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (!state->m_pOutput->fnWrite(bytes, count))
        png_error(png, "not written");
}

void fnPngFlush(png_structp) {}

bool fnKnowsPng(const unsigned char* head, std::size_t count) {
    return count >= kPngSignatureBytes && png_sig_cmp(head, 0, kPngSignatureBytes) == 0;
}

/// The libpng objects for reading one file. Every call into libpng goes through `fnCall`.
class PngReader {
public:
    PngReader(CodecInput& input, PictureTarget& target)
        : m_Target(target), m_Chunks(input, target.fnGetLimits().m_nTextBytes) {
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
    void fnTakeNotes();

private:
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
        png_set_user_limits(m_pPng, kMaxSide, kMaxSide);
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
    fnCall([&] {
        if (m_nDepth == 16)
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
    if (png_get_rowbytes(m_pPng, m_pInfo) != std::size_t{m_nWidth} * fnCodecBytes(m_nBitCount))
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
    // The passes of an interlaced picture are combined in the image itself: a row is read back,
    // completed by the pass, and stored.
    const std::size_t rowBytes = png_get_rowbytes(m_pPng, m_pInfo);
    if (rowBytes > m_State.m_nFree)
        throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
    const auto row = std::make_unique<unsigned char[]>(rowBytes);
    const std::uint64_t total = std::uint64_t{m_nHeight} * static_cast<unsigned int>(m_nPasses);
    std::uint64_t done = 0;
    for (int pass = 0; pass < m_nPasses; ++pass) {
        for (png_uint_32 y = 0; y < m_nHeight; ++y) {
            const bool touched = m_nPasses == 1 || PNG_ROW_IN_INTERLACE_PASS(y, pass);
            if (touched && pass > 0)
                m_Target.fnFetchRow(y, row.get());
            fnCall([&] { png_read_row(m_pPng, touched ? row.get() : nullptr, nullptr); });
            if (touched)
                m_Target.fnStoreRow(y, row.get());
            m_Target.fnReport(++done, total);
        }
    }
    fnCall([this] { png_read_end(m_pPng, m_pEnd); });
}

/// Sets the title, the last one of several. Returns how many there are.
unsigned int PngReader::fnTakeTitles(png_infop info) {
    png_textp texts = nullptr;
    int count = 0;
    fnCall([&] { png_get_text(m_pPng, info, &texts, &count); });
    for (int i = 0; i < count; ++i) {
        if (texts[i].text && std::strcmp(texts[i].key, kTitleKey) == 0)
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
    reader.fnReadRows();
    reader.fnTakeNotes();
}

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
        text.key = const_cast<char*>(kTitleKey);
        text.text = const_cast<char*>(source.fnGetTitle());
        png_set_text(m_pPng, m_pInfo, &text, 1);
    }
}

void PngWriter::fnWrite(PictureSource& source, const CqPictureOptions& options) {
    const unsigned int bits = source.fnGetBitCount();
    fnCall([&] {
        png_set_write_fn(m_pPng, &m_State, fnPngWrite, fnPngFlush);
        png_set_user_limits(m_pPng, kMaxSide, kMaxSide);
        png_set_compression_level(m_pPng, static_cast<int>(std::min(options.m_nPngEffort, 9u)));
        fnDescribe(source);
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

void fnWritePng(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    PngWriter writer(output);
    writer.fnOpen();
    writer.fnWrite(source, options);
}

} // namespace

const PictureCodec kPngCodec = {
    {PICTURE_PNG, "PNG", "png", true, true}, fnKnowsPng, fnReadPng, fnWritePng};

} // namespace q32
