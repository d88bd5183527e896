#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"

// jpeglib.h needs size_t and FILE declared ahead of it.
#include <jpeglib.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <jerror.h>
#include <memory>

namespace q32 {

namespace {

/// A block of 8 x 8 pixels takes at least a bit, except with arithmetic coding, where any number of
/// equal blocks takes nearly nothing.
constexpr std::uint64_t kMaxPixelsPerByte = 512;
/// An empty scan costs few bytes, but a walk over all coefficients. From this number on, scans need
/// a byte for so many blocks each. Pictures have some ten scans, and those of more are not empty.
constexpr unsigned int kFreeScans = 32;
constexpr std::uint64_t kMaxBlocksPerByte = 256;
constexpr std::size_t kOutputBlock = 16384;
constexpr double kInchesPerMeter = 1 / 0.0254;
/// Camera and editor metadata (APP1), profiles and further pictures (APP2), print metadata (APP13).
constexpr int kNoteMarkers[] = {JPEG_APP0 + 1, JPEG_APP0 + 2, JPEG_APP0 + 13};
constexpr int kDotsPerInchUnit = 1;
constexpr int kDotsPerCentimeterUnit = 2;

/// The state of libjpeg's callbacks, reached through `client_data`.
struct JpegState {
    std::jmp_buf m_Jump;
    jpeg_error_mgr m_Errors;
    CodecFailure m_Failure = {MESSAGE_CORRUPTED};
    CodecInput* m_pInput = nullptr;
    CodecOutput* m_pOutput = nullptr;
    bool m_bHasNotes = false; ///< the file being read has markers of kNoteMarkers
    JOCTET m_Block[kOutputBlock];
};

JpegState& fnState(j_common_ptr jpeg) {
    return *static_cast<JpegState*>(jpeg->client_data);
}

[[noreturn]] void fnJpegError(j_common_ptr jpeg) {
    JpegState& state = fnState(jpeg);
    switch (jpeg->err->msg_code) {
    case JERR_OUT_OF_MEMORY:
        state.m_Failure = {MESSAGE_NO_MEMORY};
        break;
    case JERR_NO_BACKING_STORE:
        state.m_Failure = {MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
        break;
    case JERR_ARITH_NOTIMPL:
    case JERR_BAD_PRECISION:
    case JERR_CONVERSION_NOTIMPL:
    case JERR_SOF_UNSUPPORTED:
        state.m_Failure = {MESSAGE_UNSUPPORTED};
        break;
    default:
        break;
    }
    std::longjmp(state.m_Jump, 1);
}

/// Except for those about bytes between segments and about versions, a warning means that pixels
/// were invented.
void fnJpegMessage(j_common_ptr jpeg, int level) {
    const int code = jpeg->err->msg_code;
    const bool harmless = level >= 0 || code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR ||
                          code == JWRN_ADOBE_XFORM || code == JWRN_TOO_MUCH_DATA;
    if (!harmless)
        fnJpegError(jpeg);
}

void fnNothing(j_decompress_ptr) {}

boolean fnFillInput(j_decompress_ptr jpeg) {
    CodecInput& input = *fnState(reinterpret_cast<j_common_ptr>(jpeg)).m_pInput;
    jpeg->src->next_input_byte = input.fnReadBlock(jpeg->src->bytes_in_buffer);
    if (jpeg->src->bytes_in_buffer == 0) {
        jpeg->err->msg_code = JERR_INPUT_EOF;
        fnJpegError(reinterpret_cast<j_common_ptr>(jpeg));
    }
    return TRUE;
}

void fnSkipInput(j_decompress_ptr jpeg, long count) {
    jpeg_source_mgr& source = *jpeg->src;
    while (count > 0) {
        if (source.bytes_in_buffer == 0)
            fnFillInput(jpeg);
        const auto piece = std::min(static_cast<std::size_t>(count), source.bytes_in_buffer);
        source.next_input_byte += piece;
        source.bytes_in_buffer -= piece;
        count -= static_cast<long>(piece);
    }
}

/// Skips a marker and notes only its presence. libjpeg would allocate an object for each, and a
/// file may have millions.
boolean fnPassNotes(j_decompress_ptr jpeg) {
    fnState(reinterpret_cast<j_common_ptr>(jpeg)).m_bHasNotes = true;
    long length = 0; // includes its own two bytes
    for (int i = 0; i < 2; ++i) {
        if (jpeg->src->bytes_in_buffer == 0)
            fnFillInput(jpeg);
        length = length << 8 | *jpeg->src->next_input_byte;
        fnSkipInput(jpeg, 1);
    }
    fnSkipInput(jpeg, length - 2);
    return TRUE;
}

void fnStartOutput(j_compress_ptr jpeg) {
    jpeg->dest->next_output_byte = fnState(reinterpret_cast<j_common_ptr>(jpeg)).m_Block;
    jpeg->dest->free_in_buffer = kOutputBlock;
}

void fnWriteBlock(j_compress_ptr jpeg, std::size_t count) {
    JpegState& state = fnState(reinterpret_cast<j_common_ptr>(jpeg));
    if (!state.m_pOutput->fnWrite(state.m_Block, count)) {
        jpeg->err->msg_code = JERR_FILE_WRITE;
        fnJpegError(reinterpret_cast<j_common_ptr>(jpeg));
    }
}

boolean fnEmptyOutput(j_compress_ptr jpeg) {
    fnWriteBlock(jpeg, kOutputBlock);
    fnStartOutput(jpeg);
    return TRUE;
}

void fnEndOutput(j_compress_ptr jpeg) {
    fnWriteBlock(jpeg, kOutputBlock - jpeg->dest->free_in_buffer);
}

jpeg_error_mgr* fnPrepareErrors(JpegState& state) {
    jpeg_std_error(&state.m_Errors);
    state.m_Errors.error_exit = fnJpegError;
    state.m_Errors.emit_message = fnJpegMessage;
    state.m_Errors.output_message = [](j_common_ptr) {};
    return &state.m_Errors;
}

bool fnKnowsJpeg(const unsigned char* head, std::size_t count) {
    return count >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
}

/// The libjpeg object for reading one file. Every call into libjpeg goes through `fnCall`.
class JpegReader {
public:
    JpegReader(CodecInput& input, PictureTarget& target) : m_Target(target) {
        m_State.m_pInput = &input;
    }
    ~JpegReader() { jpeg_destroy_decompress(&m_Jpeg); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    void fnOpen();
    void fnReadHeader();
    void fnReduce();
    void fnStart();
    void fnAllocImage();
    void fnReadScans();
    void fnReadRows();
    /// Whether the file holds more than the image: CMYK, or metadata.
    bool fnHoldsMore() const { return m_Jpeg.out_color_space == JCS_CMYK || m_State.m_bHasNotes; }

private:
    template <typename Call>
    void fnCall(const Call& call) {
        if (!fnGuardJump(m_State.m_Jump, call))
            m_State.m_pInput->fnFail(m_State.m_Failure);
    }
    CheckedSize fnCountBlocks() const;
    void fnCheckScans() const;
    unsigned char* fnConvertRow(unsigned char* row) const;

    PictureTarget& m_Target;
    JpegState m_State;
    jpeg_decompress_struct m_Jpeg = {};
    jpeg_source_mgr m_Source = {};
};

void JpegReader::fnOpen() {
    m_Jpeg.err = fnPrepareErrors(m_State);
    m_Jpeg.client_data = &m_State;
    fnCall([this] {
        jpeg_create_decompress(&m_Jpeg);
        for (const int marker : kNoteMarkers)
            jpeg_set_marker_processor(&m_Jpeg, marker, fnPassNotes);
    });
    m_Source.init_source = fnNothing;
    m_Source.fill_input_buffer = fnFillInput;
    m_Source.skip_input_data = fnSkipInput;
    m_Source.resync_to_restart = jpeg_resync_to_restart;
    m_Source.term_source = fnNothing;
    m_Jpeg.src = &m_Source;
    m_Jpeg.mem->max_memory_to_use =
        static_cast<long>(std::min<std::uint64_t>(m_Target.fnGetLimits().m_nCodecBytes, LONG_MAX));
}

void JpegReader::fnReadHeader() {
    fnCall([this] { jpeg_read_header(&m_Jpeg, TRUE); });
    const std::uint64_t length = m_State.m_pInput->fnGetLength();
    if (m_Jpeg.arith_code)
        PictureTarget::fnCheckSparseRoom(length, m_Jpeg.image_width, m_Jpeg.image_height);
    else
        PictureTarget::fnCheckRoom(length, m_Jpeg.image_width, m_Jpeg.image_height,
                                   kMaxPixelsPerByte);
    switch (m_Jpeg.jpeg_color_space) {
    case JCS_GRAYSCALE:
        m_Jpeg.out_color_space = JCS_GRAYSCALE;
        break;
    case JCS_RGB:
    case JCS_YCbCr:
        m_Jpeg.out_color_space = JCS_RGB;
        break;
    case JCS_CMYK:
    case JCS_YCCK:
        m_Jpeg.out_color_space = JCS_CMYK;
        break;
    default:
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    }
}

/// The blocks of 8 x 8 coefficients of all components, as libjpeg allocates them.
CheckedSize JpegReader::fnCountBlocks() const {
    CheckedSize blocks = 0;
    for (int i = 0; i < m_Jpeg.num_components; ++i) {
        const jpeg_component_info& part = m_Jpeg.comp_info[i];
        blocks = blocks + CheckedSize(part.width_in_blocks).fnAlignUp(part.h_samp_factor) *
                              CheckedSize(part.height_in_blocks).fnAlignUp(part.v_samp_factor);
    }
    return blocks;
}

/// Has libjpeg decode a fraction of the picture's size where that is enough for the host.
void JpegReader::fnReduce() {
    constexpr unsigned int kMaxReduction = 8;
    m_Jpeg.scale_num = 1;
    m_Jpeg.scale_denom =
        m_Target.fnChooseReduction(m_Jpeg.image_width, m_Jpeg.image_height, kMaxReduction);
    fnCall([this] { jpeg_calc_output_dimensions(&m_Jpeg); });
}

/// Starts the decompressor; allocates libjpeg's own memory, ahead of the image's.
void JpegReader::fnStart() {
    m_Target.fnCheckSize(m_Jpeg.output_width, m_Jpeg.output_height,
                         m_Jpeg.out_color_space == JCS_GRAYSCALE ? 8 : 24);
    m_Jpeg.buffered_image = jpeg_has_multiple_scans(&m_Jpeg);
    if (m_Jpeg.buffered_image)
        m_Target.fnCheckCodecBytes(fnCountBlocks() * sizeof(JBLOCK));
    fnCall([this] { jpeg_start_decompress(&m_Jpeg); });
}

void JpegReader::fnAllocImage() {
    const bool grey = m_Jpeg.out_color_space == JCS_GRAYSCALE;
    m_Target.fnAlloc(m_Jpeg.output_width, m_Jpeg.output_height, grey ? 8 : 24,
                     grey ? q32GreyRamp : nullptr, grey ? 256 : 0);
    const double unit = m_Jpeg.density_unit == kDotsPerInchUnit         ? kInchesPerMeter
                        : m_Jpeg.density_unit == kDotsPerCentimeterUnit ? 100
                                                                        : 0;
    if (m_Jpeg.saw_JFIF_marker)
        m_Target.fnSetDotsPerMeter(m_Jpeg.X_density * unit, m_Jpeg.Y_density * unit);
}

void JpegReader::fnCheckScans() const {
    const auto scans = static_cast<unsigned int>(m_Jpeg.input_scan_number);
    const CheckedSize paid = CheckedSize(m_State.m_pInput->fnGetLength()) * kMaxBlocksPerByte;
    const auto most = paid.fnGet<std::uint64_t>();
    if (scans > m_Target.fnGetLimits().m_nScans ||
        (scans > kFreeScans && most && !(fnCountBlocks() * scans).fnIsWithin(*most)))
        throw CodecFailure{MESSAGE_CORRUPTED, PICTURE_LIMIT_SCANS};
}

/// Reads all scans of a progressive picture, so that the rows come out complete. Counts as half of
/// the progress.
void JpegReader::fnReadScans() {
    const std::uint64_t length = m_State.m_pInput->fnGetLength();
    if (!m_Jpeg.buffered_image)
        return;
    int state = JPEG_SUSPENDED;
    while (state != JPEG_REACHED_EOI) {
        fnCall([&] { state = jpeg_consume_input(&m_Jpeg); });
        fnCheckScans();
        if (state == JPEG_ROW_COMPLETED)
            m_Target.fnTell(m_State.m_pInput->fnGetPosition(), 2 * length);
    }
    fnCall([this] { jpeg_start_output(&m_Jpeg, m_Jpeg.input_scan_number); });
}

/// Converts a decoded row to the image's layout, in place.
unsigned char* JpegReader::fnConvertRow(unsigned char* row) const {
    if (m_Jpeg.out_color_space != JCS_CMYK)
        return row;
    // With an Adobe marker, 255 means no ink.
    if (m_Jpeg.saw_Adobe_marker)
        std::transform(row, row + std::size_t{m_Jpeg.output_width} * 4, row,
                       [](unsigned char ink) { return static_cast<unsigned char>(255 - ink); });
    fnCmykToRgb(row, m_Jpeg.output_width, row);
    return row;
}

void JpegReader::fnReadRows() {
    const std::uint32_t height = m_Jpeg.output_height;
    const std::uint32_t before = m_Jpeg.buffered_image ? height : 0;
    const auto row = std::make_unique_for_overwrite<unsigned char[]>(
        std::size_t{m_Jpeg.output_width} * static_cast<unsigned int>(m_Jpeg.output_components));
    JSAMPROW rows = row.get();
    for (std::uint32_t y = 0; y < height; ++y) {
        fnCall([&] { jpeg_read_scanlines(&m_Jpeg, &rows, 1); });
        m_Target.fnStoreRow(y, fnConvertRow(row.get()));
        m_Target.fnTell(std::uint64_t{before} + y + 1, std::uint64_t{before} + height);
    }
    fnCall([this] {
        if (m_Jpeg.buffered_image)
            jpeg_finish_output(&m_Jpeg);
        jpeg_finish_decompress(&m_Jpeg);
    });
}

void fnReadJpeg(CodecInput& input, PictureTarget& target) {
    const auto reader = std::make_unique<JpegReader>(input, target);
    reader->fnOpen();
    reader->fnReadHeader();
    reader->fnReduce();
    reader->fnStart();
    reader->fnAllocImage();
    reader->fnReadScans();
    reader->fnReadRows();
    if (reader->fnHoldsMore())
        target.fnNoteReduced();
}

/// The libjpeg object for writing one file.
class JpegWriter {
public:
    explicit JpegWriter(CodecOutput& output) { m_State.m_pOutput = &output; }
    ~JpegWriter() { jpeg_destroy_compress(&m_Jpeg); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void fnOpen();
    void fnWrite(PictureSource& source, const CqPictureOptions& options);

private:
    template <typename Call>
    void fnCall(const Call& call) {
        if (!fnGuardJump(m_State.m_Jump, call))
            throw CodecFailure{m_State.m_Failure.m_eMessage == MESSAGE_NO_MEMORY
                                   ? MESSAGE_NO_MEMORY
                                   : MESSAGE_CANNOT_SAVE};
    }
    void fnDescribe(const PictureSource& source, const CqPictureOptions& options);

    JpegState m_State;
    jpeg_compress_struct m_Jpeg = {};
    jpeg_destination_mgr m_Destination = {};
};

void JpegWriter::fnOpen() {
    m_Jpeg.err = fnPrepareErrors(m_State);
    m_Jpeg.client_data = &m_State;
    fnCall([this] { jpeg_create_compress(&m_Jpeg); });
    m_Destination.init_destination = fnStartOutput;
    m_Destination.empty_output_buffer = fnEmptyOutput;
    m_Destination.term_destination = fnEndOutput;
    m_Jpeg.dest = &m_Destination;
}

/// Called inside `fnCall`.
void JpegWriter::fnDescribe(const PictureSource& source, const CqPictureOptions& options) {
    m_Jpeg.image_width = source.fnGetWidth();
    m_Jpeg.image_height = source.fnGetHeight();
    m_Jpeg.input_components = source.fnIsGrey() ? 1 : 3;
    m_Jpeg.in_color_space = source.fnIsGrey() ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&m_Jpeg);
    jpeg_set_quality(&m_Jpeg, static_cast<int>(std::clamp(options.m_nQuality, 1u, 100u)), TRUE);
    // The density field has 16 bits.
    if (source.fnGetDotsPerMeterX() > 0 &&
        std::max(source.fnGetDpiX(), source.fnGetDpiY()) <= UINT16_MAX) {
        m_Jpeg.density_unit = kDotsPerInchUnit;
        m_Jpeg.X_density = static_cast<UINT16>(source.fnGetDpiX());
        m_Jpeg.Y_density = static_cast<UINT16>(source.fnGetDpiY());
    }
}

void JpegWriter::fnWrite(PictureSource& source, const CqPictureOptions& options) {
    fnCall([&] {
        fnDescribe(source, options);
        jpeg_start_compress(&m_Jpeg, TRUE);
    });
    const std::uint32_t height = source.fnGetHeight();
    const auto row = std::make_unique_for_overwrite<unsigned char[]>(
        std::size_t{source.fnGetWidth()} * static_cast<unsigned int>(m_Jpeg.input_components));
    JSAMPROW rows = row.get();
    for (std::uint32_t y = 0; y < height; ++y) {
        if (source.fnIsGrey())
            source.fnFetchRow(y, row.get());
        else
            source.fnFetchRgb(y, row.get());
        fnCall([&] { jpeg_write_scanlines(&m_Jpeg, &rows, 1); });
        source.fnTell(std::uint64_t{y} + 1, height);
    }
    fnCall([this] { jpeg_finish_compress(&m_Jpeg); });
}

void fnWriteJpeg(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    const auto writer = std::make_unique<JpegWriter>(output);
    writer->fnOpen();
    writer->fnWrite(source, options);
}

} // namespace

const PictureCodec kJpegCodec = {
    {PICTURE_JPEG, "JPEG", "jpg jpeg jpe jfif", true, false}, fnKnowsJpeg, fnReadJpeg, fnWriteJpeg};

} // namespace q32
