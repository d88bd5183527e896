#include "plugins/WebFormats.h"
#include "plugins/WebFormats_p.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>
#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>

namespace q32 {

namespace {

constexpr std::size_t kHeadBytes = 12;
constexpr std::size_t kPiece = 65536; ///< bytes decoded between two reports
/// Quality from which nothing is lost.
constexpr unsigned int kExact = 100;
/// Progress of writing, in percent, once the pixels are read.
constexpr unsigned int kPixelsRead = 20;

struct DemuxDelete {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
struct DecoderDelete {
    void operator()(WebPIDecoder* decoder) const { WebPIDelete(decoder); }
};

/// Reads the first frame of a file. Functions return false after a failure.
class WebpReader {
public:
    explicit WebpReader(CqPictureReader& reader) : m_Reader(reader) {}
    ~WebpReader() { WebPDemuxReleaseIterator(&m_Frame); }
    WebpReader(const WebpReader&) = delete;
    WebpReader& operator=(const WebpReader&) = delete;

    bool fnRead() { return fnLoad() && fnOpen() && fnAlloc() && fnDecode(); }

private:
    bool fnLoad();
    bool fnOpen();
    bool fnAlloc();
    bool fnDecode();
    bool fnStore(std::uint32_t end);
    bool fnWriteBlank(std::uint32_t from, std::uint32_t to);
    std::uint32_t fnGet(WebPFormatFeature feature) const {
        return WebPDemuxGetI(m_pDemuxer.get(), feature);
    }

    CqPictureReader& m_Reader;
    std::vector<unsigned char> m_File;
    std::unique_ptr<WebPDemuxer, DemuxDelete> m_pDemuxer;
    WebPIterator m_Frame{};
    std::uint32_t m_nWidth = 0; ///< of the canvas
    std::uint32_t m_nHeight = 0;
    bool m_bAlpha = false;
    std::vector<unsigned char> m_Pixels; ///< of the frame, blue first
    std::vector<unsigned char> m_Row;    ///< of the canvas
    std::uint32_t m_nStored = 0;         ///< rows of the frame
};

bool WebpReader::fnLoad() {
    unsigned char head[kHeadBytes];
    if (!m_Reader.fnRead(head, sizeof head))
        return false;
    std::uint64_t bytes = 0;
    for (std::size_t i = 8; i-- > 4;)
        bytes = bytes << 8 | head[i];
    bytes += 8; // what the header doesn't count
    if (bytes < kHeadBytes || bytes > m_Reader.fnGetLength())
        return m_Reader.fnFail(MESSAGE_CORRUPTED);
    if (!m_Reader.fnCheckMemory(bytes))
        return false;
    m_File.resize(bytes);
    std::copy(std::begin(head), std::end(head), m_File.begin());
    return m_Reader.fnRead(m_File.data() + kHeadBytes, m_File.size() - kHeadBytes);
}

bool WebpReader::fnOpen() {
    const WebPData data{m_File.data(), m_File.size()};
    m_pDemuxer.reset(WebPDemux(&data));
    if (!m_pDemuxer || !WebPDemuxGetFrame(m_pDemuxer.get(), 1, &m_Frame) || !m_Frame.complete)
        return m_Reader.fnFail(MESSAGE_CORRUPTED);
    m_nWidth = fnGet(WEBP_FF_CANVAS_WIDTH);
    m_nHeight = fnGet(WEBP_FF_CANVAS_HEIGHT);
    const std::uint32_t flags = fnGet(WEBP_FF_FORMAT_FLAGS);
    if (fnGet(WEBP_FF_FRAME_COUNT) > 1)
        m_Reader.fnNoteReduced(PICTURE_PART_PAGES);
    if (flags & ICCP_FLAG)
        m_Reader.fnNoteReduced(PICTURE_PART_PROFILE);
    if (flags & (EXIF_FLAG | XMP_FLAG))
        m_Reader.fnNoteReduced(PICTURE_PART_NOTES);
    return true;
}

bool WebpReader::fnAlloc() {
    const auto left = static_cast<std::uint32_t>(m_Frame.x_offset);
    const auto top = static_cast<std::uint32_t>(m_Frame.y_offset);
    const auto width = static_cast<std::uint32_t>(m_Frame.width);
    const auto height = static_cast<std::uint32_t>(m_Frame.height);
    if (left + width > m_nWidth || top + height > m_nHeight)
        return m_Reader.fnFail(MESSAGE_CORRUPTED);
    m_bAlpha = m_Frame.has_alpha || width != m_nWidth || height != m_nHeight;
    const std::size_t pixel = m_bAlpha ? 4 : 3;
    const std::uint64_t pixels = std::uint64_t{width} * height;
    // The decoder of pictures without loss holds all pixels itself.
    if (!m_Reader.fnCheckMemory(m_File.size() + pixels * (pixel + 4)) ||
        !m_Reader.fnAlloc(m_nWidth, m_nHeight, m_bAlpha ? 32 : 24))
        return false;
    m_Pixels.resize(pixels * pixel);
    m_Row.resize(m_nWidth * pixel);
    return true;
}

bool WebpReader::fnWriteBlank(std::uint32_t from, std::uint32_t to) {
    for (std::uint32_t y = from; y < to; ++y)
        if (!m_Reader.fnWriteRow(y, m_Row.data(), PIXEL_BGRA32))
            return false;
    return true;
}

/// Stores the rows of the frame that aren't yet, up to `end`.
bool WebpReader::fnStore(std::uint32_t end) {
    const std::size_t pixel = m_bAlpha ? 4 : 3;
    const std::size_t bytes = static_cast<std::size_t>(m_Frame.width) * pixel;
    for (; m_nStored < end; ++m_nStored) {
        std::memcpy(&m_Row[static_cast<std::size_t>(m_Frame.x_offset) * pixel],
                    &m_Pixels[m_nStored * bytes], bytes);
        if (!m_Reader.fnWriteRow(static_cast<std::uint32_t>(m_Frame.y_offset) + m_nStored,
                                 m_Row.data(), m_bAlpha ? PIXEL_BGRA32 : PIXEL_BGR24))
            return false;
    }
    return true;
}

bool WebpReader::fnDecode() {
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config))
        return m_Reader.fnFail(MESSAGE_UNSUPPORTED); // by another version of the library
    const auto top = static_cast<std::uint32_t>(m_Frame.y_offset);
    const auto height = static_cast<std::uint32_t>(m_Frame.height);
    if (!fnWriteBlank(0, top) || !fnWriteBlank(top + height, m_nHeight))
        return false;
    config.output.colorspace = m_bAlpha ? MODE_BGRA : MODE_BGR;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {m_Pixels.data(), m_Frame.width * (m_bAlpha ? 4 : 3), m_Pixels.size()};
    const std::unique_ptr<WebPIDecoder, DecoderDelete> decoder(WebPIDecode(nullptr, 0, &config));
    if (!decoder)
        return m_Reader.fnFail(MESSAGE_NO_MEMORY);
    VP8StatusCode status = VP8_STATUS_SUSPENDED;
    for (std::size_t given = 0; status == VP8_STATUS_SUSPENDED && given < m_Frame.fragment.size;) {
        given = std::min(m_Frame.fragment.size, given + kPiece);
        status = WebPIUpdate(decoder.get(), m_Frame.fragment.bytes, given);
        int last = 0;
        if (WebPIDecGetRGB(decoder.get(), &last, nullptr, nullptr, nullptr) &&
            !fnStore(std::min(height, static_cast<std::uint32_t>(std::max(0, last)))))
            return false;
    }
    if (status == VP8_STATUS_OUT_OF_MEMORY)
        return m_Reader.fnFail(MESSAGE_NO_MEMORY);
    return status == VP8_STATUS_OK ? fnStore(height) : m_Reader.fnFail(MESSAGE_CORRUPTED);
}

/// The pixels that are encoded.
struct Picture {
    Picture() : m_bGood(WebPPictureInit(&m_Picture) != 0) {}
    ~Picture() { WebPPictureFree(&m_Picture); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    WebPPicture m_Picture;
    bool m_bGood;
};

int fnTakeBytes(const std::uint8_t* bytes, std::size_t count, const WebPPicture* picture) {
    return static_cast<CqPictureWriter*>(picture->custom_ptr)->fnWrite(bytes, count) ? 1 : 0;
}

int fnTakeProgress(int percent, const WebPPicture* picture) {
    const auto done = static_cast<std::uint64_t>(std::clamp(percent, 0, 100));
    return static_cast<CqPictureWriter*>(picture->custom_ptr)
                   ->fnReport(kPixelsRead * 100 + done * (100 - kPixelsRead), 10'000)
               ? 1
               : 0;
}

bool fnConfigure(WebPConfig& config, unsigned int quality) {
    if (!WebPConfigInit(&config))
        return false;
    constexpr int kUsualEffort = 6; // of 9; more takes several times as long
    if (quality >= kExact) {
        config.exact = 1;
        return WebPConfigLosslessPreset(&config, kUsualEffort) != 0;
    }
    config.quality = static_cast<float>(quality);
    return true;
}

bool fnReadPixels(CqPictureWriter& writer, WebPPicture& picture) {
    constexpr PIXEL_ORDER kOrder =
        std::endian::native == std::endian::little ? PIXEL_BGRA32 : PIXEL_ARGB32;
    const CqImage& image = writer.fnGetImage();
    const CqPixelReader reader(image, kOrder);
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        std::uint32_t* const row =
            picture.argb + static_cast<std::ptrdiff_t>(y) * picture.argb_stride;
        if (!reader.fnReadRow(0, y, image.Width, row))
            return writer.fnFail(MESSAGE_NO_MEMORY); // its scratch file lost pixels
        if (!writer.fnReport((y + std::uint64_t{1}) * kPixelsRead,
                             image.Height * std::uint64_t{100}))
            return false;
    }
    return true;
}

} // namespace

CqPictureFormat WebpCodec::fnGetFormat() const noexcept {
    return {PICTURE_WEBP, "WebP", "webp", true, true};
}

bool WebpCodec::fnKnows(const unsigned char* head, std::size_t count) const noexcept {
    return count >= kHeadBytes && std::memcmp(head, "RIFF", 4) == 0 &&
           std::memcmp(head + 8, "WEBP", 4) == 0;
}

bool WebpCodec::fnRead(CqPictureReader& reader) const {
    return WebpReader(reader).fnRead();
}

bool WebpCodec::fnWrite(CqPictureWriter& writer) const {
    const CqImage& image = writer.fnGetImage();
    if (std::max(image.Width, image.Height) > WEBP_MAX_DIMENSION)
        return writer.fnFail(MESSAGE_CANNOT_SAVE);
    Picture holder;
    WebPPicture& picture = holder.m_Picture;
    WebPConfig config;
    if (!holder.m_bGood || !fnConfigure(config, writer.fnGetOptions().m_nQuality))
        return writer.fnFail(MESSAGE_UNSUPPORTED); // by another version of the library
    picture.use_argb = 1;
    picture.width = static_cast<int>(image.Width);
    picture.height = static_cast<int>(image.Height);
    if (!WebPPictureAlloc(&picture))
        return writer.fnFail(MESSAGE_NO_MEMORY);
    picture.writer = fnTakeBytes;
    picture.progress_hook = fnTakeProgress;
    picture.custom_ptr = &writer;
    if (!fnReadPixels(writer, picture))
        return false;
    if (WebPEncode(&config, &picture))
        return true;
    const bool memory = picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY ||
                        picture.error_code == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY;
    return writer.fnFail(memory ? MESSAGE_NO_MEMORY : MESSAGE_CANNOT_SAVE);
}

} // namespace q32
