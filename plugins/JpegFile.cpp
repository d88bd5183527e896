#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/JpegHandle_p.h"
#include "plugins/JpegScans_p.h"
#include "plugins/JpegScanSieve_p.h"
#include "plugins/MetadataTarget_p.h"
#include "plugins/PictureTarget_p.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <jerror.h>
#include <memory>
#include <optional>

namespace q32 {

namespace {

/// A block of 8 x 8 pixels takes at least a bit, except with arithmetic coding, where any number of
/// equal blocks takes nearly nothing.
constexpr std::uint64_t kMaxPixelsPerByte = 512;
/// An empty scan costs few bytes, but a walk over all coefficients. From this number on, scans need
/// a byte for so many blocks each. Pictures have some ten scans, and those of more are not empty.
constexpr unsigned int kFreeScans = 32;
constexpr std::uint64_t kMaxBlocksPerByte = 256;
/// Camera and editor metadata (APP1), profiles and further pictures (APP2), print metadata (APP13).
constexpr int kNoteMarkers[] = {JPEG_APP0 + 1, JPEG_APP0 + 2, JPEG_APP0 + 13};
constexpr int kDotsPerCentimeterUnit = 2;

struct ReadState : JpegState {
    explicit ReadState(CodecInput& input) : m_Input(input) {}

    CodecInput& m_Input;
    std::optional<JpegScanSieve> m_Sieve; ///< between the file and libjpeg, if any
    bool m_bHasNotes = false;             ///< the file has markers of kNoteMarkers
};

ReadState& fnState(j_decompress_ptr jpeg) {
    return static_cast<ReadState&>(*static_cast<JpegState*>(jpeg->client_data));
}

void fnNothing(j_decompress_ptr) {}

boolean fnFillInput(j_decompress_ptr jpeg) {
    ReadState& state = fnState(jpeg);
    CodecInput& input = state.m_Input;
    std::size_t& count = jpeg->src->bytes_in_buffer;
    jpeg->src->next_input_byte =
        state.m_Sieve ? state.m_Sieve->fnReadBlock(count) : input.fnReadBlock(count);
    if (count > 0)
        return TRUE;
    if (!state.m_bLenient || input.fnHasFailed())
        fnFailJpeg(reinterpret_cast<j_common_ptr>(jpeg), JERR_INPUT_EOF);
    static constexpr JOCTET kEnd[] = {0xFF, JPEG_EOI};
    state.m_bDamaged = true;
    jpeg->src->next_input_byte = kEnd;
    jpeg->src->bytes_in_buffer = sizeof(kEnd);
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
    fnState(jpeg).m_bHasNotes = true;
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

bool fnKnowsJpeg(const unsigned char* head, std::size_t count) {
    return count >= 3 && head[0] == 0xFF && head[1] == 0xD8 && head[2] == 0xFF;
}

/// The libjpeg object for reading one file. Every call into libjpeg goes through `fnCall`.
class JpegReader {
public:
    JpegReader(CodecInput& input, PictureTarget& target) : m_Target(target), m_State(input) {}
    ~JpegReader() { jpeg_destroy_decompress(&m_Jpeg); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    void fnRead();
    /// Whether pixels were invented.
    bool fnIsDamaged() const { return m_State.m_bDamaged; }
    bool fnIsCmyk() const { return m_Jpeg.out_color_space == JCS_CMYK; }
    bool fnHasNotes() const { return m_State.m_bHasNotes; }

private:
    void fnOpen();
    void fnReadHeader();
    void fnReduce();
    void fnStart();
    void fnSieve();
    void fnAllocImage();
    void fnReadScans();
    void fnReadRows();
    std::uint64_t fnReturnBuffer();
    template <typename Call>
    void fnCall(const Call& call) {
        if (!fnGuardJump(m_State.m_Jump, call))
            m_State.m_Input.fnFail(m_State.m_Failure);
    }
    CheckedSize fnCountBlocks() const;
    void fnCountScans();
    void fnCheckScans(unsigned int scans) const;
    unsigned char* fnConvertRow(unsigned char* row) const;

    PictureTarget& m_Target;
    ReadState m_State;
    jpeg_decompress_struct m_Jpeg = {};
    jpeg_source_mgr m_Source = {};
};

void JpegReader::fnOpen() {
    m_State.fnConnect(m_Jpeg);
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
    m_State.m_bLenient = m_Target.fnGetLimits().m_bPartial;
    const std::uint64_t length = m_State.m_Input.fnGetLength();
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
    if (m_Jpeg.buffered_image) {
        m_Target.fnCheckCodecBytes(fnCountBlocks() * sizeof(JBLOCK));
        fnCountScans();
    }
    fnCall([this] { jpeg_start_decompress(&m_Jpeg); });
}

void JpegReader::fnAllocImage() {
    const bool grey = m_Jpeg.out_color_space == JCS_GRAYSCALE;
    m_Target.fnAlloc(m_Jpeg.output_width, m_Jpeg.output_height, grey ? 8 : 24,
                     grey ? q32GreyRamp : nullptr, grey ? 256 : 0);
    const double unit = m_Jpeg.density_unit == kJpegDotsPerInch         ? kInchesPerMeter
                        : m_Jpeg.density_unit == kDotsPerCentimeterUnit ? 100
                                                                        : 0;
    if (m_Jpeg.saw_JFIF_marker)
        m_Target.fnSetDotsPerMeter(m_Jpeg.X_density * unit, m_Jpeg.Y_density * unit);
}

/// Has the input go back to where libjpeg is, which asks for the rest of its buffer again.
/// @return that position
std::uint64_t JpegReader::fnReturnBuffer() {
    const std::uint64_t place = m_State.m_Input.fnGetPosition() - m_Source.bytes_in_buffer;
    m_Source.bytes_in_buffer = 0;
    m_State.m_Input.fnSeek(place);
    return place;
}

/// Leaves out scans without effect on the reduced picture. Not where damage is accepted: what
/// libjpeg makes of that depends on all scans.
void JpegReader::fnSieve() {
    if (!m_Jpeg.progressive_mode || m_State.m_bLenient || !JpegScanSieve::fnIsUseful(m_Jpeg))
        return;
    fnReturnBuffer();
    m_State.m_Sieve.emplace(m_State.m_Input, m_Jpeg);
    m_Jpeg.do_block_smoothing = FALSE; // it would invent the coefficients that are left out
}

/// Looks ahead for the scans of the whole file, so that too many of them are refused before
/// coefficients take memory.
void JpegReader::fnCountScans() {
    CodecInput& input = m_State.m_Input;
    const std::uint64_t place = fnReturnBuffer();
    const unsigned int more = fnCountJpegScans(input, m_Target.fnGetLimits().m_nScans);
    if (input.fnHasFailed())
        input.fnFail(m_State.m_Failure);
    input.fnSeek(place);
    fnCheckScans(1 + more); // the header ended in the first
}

void JpegReader::fnCheckScans(unsigned int scans) const {
    const CheckedSize paid = CheckedSize(m_State.m_Input.fnGetLength()) * kMaxBlocksPerByte;
    const auto most = paid.fnGet<std::uint64_t>();
    if (scans > m_Target.fnGetLimits().m_nScans ||
        (scans > kFreeScans && most && !(fnCountBlocks() * scans).fnIsWithin(*most)))
        throw CodecFailure{MESSAGE_CORRUPTED, PICTURE_LIMIT_SCANS};
}

/// Reads all scans of a progressive picture, so that the rows come out complete. Counts as half of
/// the progress.
void JpegReader::fnReadScans() {
    const std::uint64_t length = m_State.m_Input.fnGetLength();
    if (!m_Jpeg.buffered_image)
        return;
    int state = JPEG_SUSPENDED;
    while (state != JPEG_REACHED_EOI) {
        fnCall([&] { state = jpeg_consume_input(&m_Jpeg); });
        // The file may be another by now than the one that was counted.
        fnCheckScans(static_cast<unsigned int>(m_Jpeg.input_scan_number));
        if (state == JPEG_ROW_COMPLETED)
            m_Target.fnReport(m_State.m_Input.fnGetPosition(), 2 * length);
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
        m_Target.fnReport(std::uint64_t{before} + y + 1, std::uint64_t{before} + height);
    }
    fnCall([this] {
        if (m_Jpeg.buffered_image)
            jpeg_finish_output(&m_Jpeg);
        jpeg_finish_decompress(&m_Jpeg);
    });
}

void JpegReader::fnRead() {
    fnOpen();
    fnReadHeader();
    fnReduce();
    const bool pixels = m_Target.fnNeedsPixels();
    if (pixels)
        fnStart();
    fnAllocImage();
    if (!pixels)
        return;
    fnSieve();
    fnReadScans();
    fnReadRows();
}

/// Notes by kind what the host doesn't ask for.
void fnNoteParts(CodecInput& input, PictureTarget& target) {
    CqPictureMetadata none;
    MetadataTarget blocks(none, 0); // no bytes of any
    fnTakeJpegMetadata(input, blocks);
    fnRequireRead(input);
    // Of notes behind the first scan only their presence is known.
    target.fnNoteReduced(blocks.fnGetParts() != 0 ? blocks.fnGetParts() : PICTURE_PART_OTHER);
}

void fnReadJpeg(CodecInput& input, PictureTarget& target) {
    const auto reader = std::make_unique<JpegReader>(input, target);
    reader->fnRead();
    if (reader->fnIsDamaged())
        target.fnNotePartial();
    target.fnNoteReduced(reader->fnIsCmyk() ? PICTURE_PART_CHANNELS : 0u);
    if (!target.fnGetMetadata() && reader->fnHasNotes())
        fnNoteParts(input, target);
    fnCollectMetadata(input, target,
                      [&](MetadataTarget& blocks) { fnTakeJpegMetadata(input, blocks); });
}

} // namespace

const PictureCodec kJpegCodec = {
    {PICTURE_JPEG, "JPEG", "jpg jpeg jpe jfif", true, false}, fnKnowsJpeg, fnReadJpeg, fnWriteJpeg};

} // namespace q32
