#include "plugins/WebFormats.h"
#include "plugins/WebFormats_p.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gif_lib.h>
#include <string_view>
#include <vector>

namespace q32 {

namespace {

/// More than giflib allocates for a file, beside its rows.
constexpr std::uint64_t kHandleBytes = 100'000;

int fnReadBytes(GifFileType* gif, GifByteType* out, int count) {
    auto* const reader = static_cast<CqPictureReader*>(gif->UserData);
    return static_cast<int>(reader->fnReadSome(out, static_cast<std::size_t>(count)));
}

bool fnFailBy(CqPictureReader& reader, int error) {
    return reader.fnFail(error == D_GIF_ERR_NOT_ENOUGH_MEM ? MESSAGE_NO_MEMORY : MESSAGE_CORRUPTED);
}

/// Reads the first frame of a file. Functions return false after a failure.
class GifReader {
public:
    explicit GifReader(CqPictureReader& reader) : m_Reader(reader) {}
    ~GifReader() {
        int error = 0;
        if (m_pGif)
            DGifCloseFile(m_pGif, &error);
    }
    GifReader(const GifReader&) = delete;
    GifReader& operator=(const GifReader&) = delete;

    bool fnOpen() {
        int error = 0;
        m_pGif = DGifOpen(&m_Reader, fnReadBytes, &error);
        return m_pGif || fnFailBy(m_Reader, error);
    }
    bool fnReadFrame() { return fnFindFrame() && fnAlloc() && fnReadRows() && fnReadRest(); }

private:
    bool fnFail() { return fnFailBy(m_Reader, m_pGif->Error); }
    bool fnReadExtension();
    bool fnFindFrame();
    bool fnAlloc();
    bool fnReadRows();
    bool fnReadRow(std::uint32_t y);
    bool fnWriteBlank(std::uint32_t from, std::uint32_t to);
    bool fnReadRest();

    const GifImageDesc& fnFrame() const { return m_pGif->Image; }

    CqPictureReader& m_Reader;
    GifFileType* m_pGif = nullptr;
    int m_nTransparent = NO_TRANSPARENT_COLOR;
    bool m_bFramed = false; ///< the first frame is found
    bool m_bAlpha = false;
    std::uint32_t m_nWidth = 0; ///< of the canvas
    std::uint32_t m_nHeight = 0;
    std::vector<RGBQUAD> m_Palette;
    std::vector<GifByteType> m_Line;  ///< of the frame
    std::vector<unsigned char> m_Row; ///< of the canvas, blue, green, red and alpha
};

bool GifReader::fnReadExtension() {
    int code = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(m_pGif, &code, &block) == GIF_ERROR)
        return fnFail();
    const std::string_view name(block ? reinterpret_cast<const char*>(block + 1) : "",
                                block ? block[0] : 0);
    GraphicsControlBlock control{};
    if (code == GRAPHICS_EXT_FUNC_CODE && !m_bFramed && block &&
        DGifExtensionToGCB(block[0], block + 1, &control) != GIF_ERROR)
        m_nTransparent = control.TransparentColor;
    const bool repeats = name == "NETSCAPE2.0" || name == "ANIMEXTS1.0"; // an animation
    if (code == APPLICATION_EXT_FUNC_CODE && !repeats)
        m_Reader.fnNoteReduced(name == "ICCRGBG1012" ? PICTURE_PART_PROFILE : PICTURE_PART_NOTES);
    if (code == COMMENT_EXT_FUNC_CODE || code == PLAINTEXT_EXT_FUNC_CODE)
        m_Reader.fnNoteReduced(PICTURE_PART_NOTES);
    while (block)
        if (DGifGetExtensionNext(m_pGif, &block) == GIF_ERROR)
            return fnFail();
    return true;
}

bool GifReader::fnFindFrame() {
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(m_pGif, &type) == GIF_ERROR)
            return fnFail();
        if (type == IMAGE_DESC_RECORD_TYPE)
            break;
        if (type != EXTENSION_RECORD_TYPE)
            return m_Reader.fnFail(MESSAGE_CORRUPTED); // no picture at all
        if (!fnReadExtension())
            return false;
    }
    m_bFramed = true;
    return DGifGetImageDesc(m_pGif) != GIF_ERROR || fnFail();
}

bool GifReader::fnAlloc() {
    const GifImageDesc& frame = fnFrame();
    const ColorMapObject* const colors = frame.ColorMap ? frame.ColorMap : m_pGif->SColorMap;
    if (!colors || frame.Width <= 0 || frame.Height <= 0)
        return m_Reader.fnFail(MESSAGE_CORRUPTED);
    // All of these are numbers of 16 bits.
    m_nWidth = static_cast<std::uint32_t>(std::max(m_pGif->SWidth, frame.Left + frame.Width));
    m_nHeight = static_cast<std::uint32_t>(std::max(m_pGif->SHeight, frame.Top + frame.Height));
    const bool fills = static_cast<std::uint32_t>(frame.Width) == m_nWidth &&
                       static_cast<std::uint32_t>(frame.Height) == m_nHeight;
    m_bAlpha = !fills || m_nTransparent != NO_TRANSPARENT_COLOR;
    if (!m_Reader.fnCheckMemory(kHandleBytes + std::uint64_t{m_nWidth} * 5))
        return false;
    for (int i = 0; i < std::min(colors->ColorCount, 256); ++i)
        m_Palette.push_back(
            {colors->Colors[i].Blue, colors->Colors[i].Green, colors->Colors[i].Red, 0});
    m_Line.resize(static_cast<std::size_t>(frame.Width));
    m_Row.resize(m_bAlpha ? std::size_t{m_nWidth} * 4 : 0);
    return m_bAlpha ? m_Reader.fnAlloc(m_nWidth, m_nHeight, 32)
                    : m_Reader.fnAlloc(m_nWidth, m_nHeight, 8, m_Palette.data(),
                                       static_cast<unsigned int>(m_Palette.size()));
}

/// Reads the next row of the frame, which belongs at `y` of the canvas.
bool GifReader::fnReadRow(std::uint32_t y) {
    if (DGifGetLine(m_pGif, m_Line.data(), fnFrame().Width) == GIF_ERROR)
        return fnFail();
    if (!m_bAlpha)
        return m_Reader.fnWriteRow(y, m_Line.data(), PIXEL_STORED);
    unsigned char* out = &m_Row[static_cast<std::size_t>(fnFrame().Left) * 4];
    for (const GifByteType index : m_Line) {
        const bool clear = index == m_nTransparent;
        // An index beyond the palette is black.
        const RGBQUAD color =
            clear || index >= m_Palette.size() ? RGBQUAD{0, 0, 0, 0} : m_Palette[index];
        const unsigned char pixel[] = {color.rgbBlue, color.rgbGreen, color.rgbRed,
                                       static_cast<unsigned char>(clear ? 0 : 255)};
        std::memcpy(out, pixel, sizeof pixel);
        out += sizeof pixel;
    }
    return m_Reader.fnWriteRow(y, m_Row.data(), PIXEL_BGRA32);
}

bool GifReader::fnWriteBlank(std::uint32_t from, std::uint32_t to) {
    const std::vector<unsigned char> blank(m_Row.size());
    for (std::uint32_t y = from; y < to; ++y)
        if (!m_Reader.fnWriteRow(y, blank.data(), PIXEL_BGRA32))
            return false;
    return true;
}

bool GifReader::fnReadRows() {
    struct Pass {
        std::uint32_t m_nFirst;
        std::uint32_t m_nStep;
    };
    static constexpr Pass kPlain[] = {{0, 1}};
    static constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    const auto top = static_cast<std::uint32_t>(fnFrame().Top);
    const auto height = static_cast<std::uint32_t>(fnFrame().Height);
    if (!fnWriteBlank(0, top) || !fnWriteBlank(top + height, m_nHeight))
        return false;
    const auto readPass = [&](const Pass& pass) {
        for (std::uint32_t y = pass.m_nFirst; y < height; y += pass.m_nStep)
            if (!fnReadRow(top + y))
                return false;
        return true;
    };
    return fnFrame().Interlace
               ? std::all_of(std::begin(kInterlaced), std::end(kInterlaced), readPass)
               : std::all_of(std::begin(kPlain), std::end(kPlain), readPass);
}

/// Looks for what follows the frame, up to the next one or the end.
bool GifReader::fnReadRest() {
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(m_pGif, &type) == GIF_ERROR)
            return fnFail();
        if (type == TERMINATE_RECORD_TYPE)
            return true;
        if (type == IMAGE_DESC_RECORD_TYPE) {
            m_Reader.fnNoteReduced(PICTURE_PART_PAGES);
            return true;
        }
        if (!fnReadExtension())
            return false;
    }
}

} // namespace

CqPictureFormat GifCodec::fnGetFormat() const noexcept {
    return {PICTURE_GIF, "GIF", "gif", false, true};
}

bool GifCodec::fnKnows(const unsigned char* head, std::size_t count) const noexcept {
    return count >= 6 &&
           (std::memcmp(head, "GIF87a", 6) == 0 || std::memcmp(head, "GIF89a", 6) == 0);
}

bool GifCodec::fnRead(CqPictureReader& reader) const {
    GifReader gif(reader);
    return gif.fnOpen() && gif.fnReadFrame();
}

bool GifCodec::fnWrite(CqPictureWriter& writer) const {
    return writer.fnFail(MESSAGE_UNSUPPORTED);
}

} // namespace q32
