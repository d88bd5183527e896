#include "plugins/CodecOutput_p.h"
#include "plugins/JpegHandle_p.h"
#include "plugins/JpegMetadata_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/RowBands_p.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <jerror.h>
#include <memory>
#include <numeric>
#include <span>
#include <string_view>

namespace q32 {

namespace {

constexpr std::size_t kOutputBlock = 16384;

struct WriteState : JpegState {
    explicit WriteState(CodecOutput& output) : m_Output(output) {}

    CodecOutput& m_Output;
    JOCTET m_Block[kOutputBlock];
};

WriteState& fnState(j_compress_ptr jpeg) {
    return static_cast<WriteState&>(*static_cast<JpegState*>(jpeg->client_data));
}

void fnStartOutput(j_compress_ptr jpeg) {
    jpeg->dest->next_output_byte = fnState(jpeg).m_Block;
    jpeg->dest->free_in_buffer = kOutputBlock;
}

void fnWriteBlock(j_compress_ptr jpeg, std::size_t count) {
    WriteState& state = fnState(jpeg);
    if (!state.m_Output.fnWrite(state.m_Block, count))
        fnFailJpeg(reinterpret_cast<j_common_ptr>(jpeg), JERR_FILE_WRITE);
}

boolean fnEmptyOutput(j_compress_ptr jpeg) {
    fnWriteBlock(jpeg, kOutputBlock);
    fnStartOutput(jpeg);
    return TRUE;
}

void fnEndOutput(j_compress_ptr jpeg) {
    fnWriteBlock(jpeg, kOutputBlock - jpeg->dest->free_in_buffer);
}

/// The libjpeg object for writing one file.
class JpegWriter {
public:
    explicit JpegWriter(CodecOutput& output) : m_State(output) {}
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
    void fnWriteSegment(unsigned char marker,
                        std::initializer_list<std::span<const unsigned char>> data);
    void fnWriteMetadata(const CqPictureMetadata& metadata);

    WriteState m_State;
    jpeg_compress_struct m_Jpeg = {};
    jpeg_destination_mgr m_Destination = {};
};

void JpegWriter::fnOpen() {
    m_State.fnConnect(m_Jpeg);
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
        m_Jpeg.density_unit = kJpegDotsPerInch;
        m_Jpeg.X_density = static_cast<UINT16>(source.fnGetDpiX());
        m_Jpeg.Y_density = static_cast<UINT16>(source.fnGetDpiY());
    }
}

/// Called inside `fnCall`, as the next.
void JpegWriter::fnWriteSegment(unsigned char marker,
                                std::initializer_list<std::span<const unsigned char>> data) {
    const auto size =
        std::accumulate(data.begin(), data.end(), std::size_t{0},
                        [](std::size_t sum, const auto& piece) { return sum + piece.size(); });
    jpeg_write_m_header(&m_Jpeg, marker, static_cast<unsigned int>(size));
    for (const auto& piece : data)
        for (const unsigned char byte : piece)
            jpeg_write_m_byte(&m_Jpeg, byte);
}

void JpegWriter::fnWriteMetadata(const CqPictureMetadata& metadata) {
    const auto head = [](std::string_view text) {
        return std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    };
    if (!metadata.m_Exif.empty())
        fnWriteSegment(kJpegNotes, {head(kJpegExif), metadata.m_Exif});
    if (!metadata.m_Xmp.empty())
        fnWriteSegment(kJpegNotes, {head(kJpegXmp), metadata.m_Xmp});
    const std::size_t count = metadata.m_Iptc.size();
    if (count > 0) {
        const auto byte = [](std::size_t value) { return static_cast<unsigned char>(value); };
        const unsigned char resource[kJpegResourceHead] = {
            '8', 'B', 'I', 'M', 4, 4, 0, 0, 0, 0, byte(count >> 8), byte(count)};
        constexpr unsigned char kPad[1] = {};
        fnWriteSegment(kJpegPress, {head(kJpegResources), resource, metadata.m_Iptc,
                                    std::span(kPad).first(count % 2)});
    }
    const std::span<const unsigned char> profile = metadata.m_Profile;
    const std::size_t pieces = (profile.size() + kMaxJpegPiece - 1) / kMaxJpegPiece;
    for (std::size_t i = 0; i < pieces; ++i) {
        const std::size_t from = i * kMaxJpegPiece;
        const unsigned char numbers[] = {static_cast<unsigned char>(i + 1),
                                         static_cast<unsigned char>(pieces)};
        fnWriteSegment(kJpegProfile,
                       {head(kJpegIcc), numbers,
                        profile.subspan(from, std::min(kMaxJpegPiece, profile.size() - from))});
    }
}

void JpegWriter::fnWrite(PictureSource& source, const CqPictureOptions& options) {
    fnCall([&] {
        fnDescribe(source, options);
        jpeg_start_compress(&m_Jpeg, TRUE);
        fnWriteMetadata(source.fnGetMetadata());
    });
    const std::uint32_t height = source.fnGetHeight();
    const std::size_t rowBytes =
        std::size_t{source.fnGetWidth()} * static_cast<unsigned int>(m_Jpeg.input_components);
    RowBands rows(height, rowBytes, static_cast<double>(rowBytes) * kCopyTime, UINT64_MAX);
    rows.fnWrite(
        [&](std::uint32_t y, unsigned char* row) {
            if (source.fnIsGrey())
                source.fnFetchRow(y, row);
            else
                source.fnFetchRgb(y, row);
        },
        [&](std::uint32_t, unsigned char* row) {
            fnCall([&] { jpeg_write_scanlines(&m_Jpeg, &row, 1); });
        },
        [&](std::uint32_t y) { source.fnReport(std::uint64_t{y} + 1, height); });
    fnCall([this] { jpeg_finish_compress(&m_Jpeg); });
}

} // namespace

void fnWriteJpeg(CodecOutput& output, PictureSource& source, const CqPictureOptions& options) {
    const auto writer = std::make_unique<JpegWriter>(output);
    writer->fnOpen();
    writer->fnWrite(source, options);
}

} // namespace q32
