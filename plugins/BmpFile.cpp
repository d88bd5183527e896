#include "plugins/BmpHeader_p.h"
#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"
#include "q32Base/kernels/Rgb565_p.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <vector>

namespace q32 {

namespace {

constexpr std::uint32_t kSrgbSpace = 0x73524742;
/// Limit for run-length coded data, which is decoded in one block.
constexpr std::uint64_t kMaxRleBytes = 64u << 20;

/// One channel of 16- or 32-bit pixels.
struct Channel {
    std::uint32_t m_nMask = 0;
    int m_nShift = 0;
    std::uint32_t m_nMax = 0; ///< its highest value; 0 for an absent channel

    Channel() = default;
    explicit Channel(std::uint32_t mask)
        : m_nMask(mask), m_nShift(mask ? std::countr_zero(mask) : 0), m_nMax(mask >> m_nShift) {}

    unsigned char fnRead(std::uint32_t pixel) const {
        if (m_nMax == 0)
            return 0;
        const std::uint64_t value = (pixel & m_nMask) >> m_nShift;
        return static_cast<unsigned char>((value * 255 + m_nMax / 2) / m_nMax);
    }
};

bool fnKnowsBmp(const unsigned char* head, std::size_t count) {
    return count >= 2 && head[0] == 'B' && head[1] == 'M';
}

/// The order of the file's pixels where an image takes them as they are; PIXEL_STORED where rows
/// are decoded first.
PIXEL_ORDER fnGetOrder(const BmpHeader& header) {
    if (header.m_Info.biBitCount == 24)
        return PIXEL_BGR24;
    if (header.m_Info.biBitCount != 32)
        return PIXEL_STORED;
    return header.m_Masks == kDibMasks8888  ? PIXEL_BGRA32
           : header.m_Masks == kDibMasks888 ? PIXEL_BGRX32
                                            : PIXEL_STORED;
}

/// Decodes rows of the file to the layout of CodecSamples_p.h.
class RowDecoder {
public:
    explicit RowDecoder(const BmpHeader& header)
        : m_Header(header), m_b555(header.fnIs555()), m_b565(header.fnIs565()) {
        std::transform(header.m_Masks.begin(), header.m_Masks.end(), m_Channels,
                       [](std::uint32_t mask) { return Channel(mask); });
    }

    void fnDecode(const unsigned char* in, unsigned char* out) const {
        const unsigned int bits = m_Header.m_Info.biBitCount;
        if (bits <= 8)
            fnUnpackBits(in, bits, m_Header.m_nWidth, out);
        else if (m_b555 || m_b565)
            fnTake16(in, out);
        else
            fnTakeMasked(in, out);
    }

private:
    /// 5-5-5 is widened with the low green bit 0, as in the DIB interchange.
    void fnTake16(const unsigned char* in, unsigned char* out) const {
        for (std::uint32_t x = 0; x < m_Header.m_nWidth; ++x, in += 2, out += 2) {
            const unsigned int value = fnGet16(in);
            fnStoreHighFirst(out, m_b555 ? fnWiden555To565(value) : value);
        }
    }

    void fnTakeMasked(const unsigned char* in, unsigned char* out) const {
        const bool wide = m_Header.m_Info.biBitCount == 32;
        for (std::uint32_t x = 0; x < m_Header.m_nWidth; ++x, in += wide ? 4 : 2) {
            const std::uint32_t pixel = wide ? fnGet32(in) : fnGet16(in);
            if (m_Channels[3].m_nMax != 0)
                *out++ = m_Channels[3].fnRead(pixel);
            for (int channel = 0; channel < 3; ++channel)
                *out++ = m_Channels[channel].fnRead(pixel);
        }
    }

    const BmpHeader& m_Header;
    bool m_b555;
    bool m_b565;
    Channel m_Channels[4];
};

void fnReadPlain(CodecInput& input, const BmpHeader& header, PictureTarget& target) {
    const std::uint64_t stride = fnDibRowBytes(header.m_nWidth, header.m_Info.biBitCount);
    const std::uint64_t length = input.fnGetLength();
    if (header.m_nPixelsAt > length || (length - header.m_nPixelsAt) / stride < header.m_nHeight)
        throw CodecFailure{MESSAGE_CORRUPTED};
    const unsigned int depth = header.fnGetImageDepth();
    const PIXEL_ORDER order = fnGetOrder(header);
    const bool decodes = order == PIXEL_STORED;
    const CheckedSize rowBytes = CheckedSize(header.m_nWidth) * fnCodecBytes(depth);
    target.fnCheckCodecBytes(rowBytes + CheckedSize(stride));
    target.fnAlloc(header.m_nWidth, header.m_nHeight, depth, depth <= 8 ? header.m_Colors : nullptr,
                   header.m_nColors, order);
    if (!target.fnNeedsPixels())
        return;

    const RowDecoder decoder(header);
    const auto stored = std::make_unique_for_overwrite<unsigned char[]>(stride);
    const auto row =
        std::make_unique_for_overwrite<unsigned char[]>(decodes ? rowBytes.fnGetOrThrow() : 0);
    input.fnSeek(header.m_nPixelsAt);
    for (std::uint32_t i = 0; i < header.m_nHeight; ++i) {
        fnReadExactly(input, stored.get(), stride);
        if (decodes)
            decoder.fnDecode(stored.get(), row.get());
        target.fnStoreRow(header.m_bTopDown ? i : header.m_nHeight - 1 - i,
                          decodes ? row.get() : stored.get());
        target.fnReport(std::uint64_t{i} + 1, header.m_nHeight);
    }
}

/// Bytes of a run-length stream including its end mark. Throws MESSAGE_CORRUPTED when there is
/// none: the file was truncated.
std::size_t fnRleLength(const unsigned char* stream, std::size_t count) {
    std::size_t at = 0;
    while (at + 2 <= count) {
        const unsigned char run = stream[at];
        const unsigned char code = stream[at + 1];
        at += 2;
        if (run != 0 || code == 0)
            continue;
        if (code == 1)
            return at;
        at += code == 2 ? 2 : (code + 1u) / 2 * 2;
    }
    throw CodecFailure{MESSAGE_CORRUPTED};
}

/// Passes a run-length coded picture to the DIB interchange, whose rules apply: rows missing from
/// the stream are not set. The end mark shows that the stream was not truncated.
void fnReadRle(CodecInput& input, const BmpHeader& header, PictureTarget& target) {
    const std::uint64_t length = input.fnGetLength();
    if (header.m_nPixelsAt > length)
        throw CodecFailure{MESSAGE_CORRUPTED};
    const std::uint64_t coded = length - header.m_nPixelsAt;
    if (coded > kMaxRleBytes)
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    PictureTarget::fnCheckSparseRoom(coded, header.m_nWidth, header.m_nHeight);
    target.fnCheckCodecBytes(coded);
    if (!target.fnNeedsPixels())
        return target.fnAlloc(header.m_nWidth, header.m_nHeight, 8, header.m_Colors,
                              header.m_nColors);
    target.fnCheckSize(header.m_nWidth, header.m_nHeight, 8);
    const std::size_t colorBytes = header.m_nColors * sizeof(RGBQUAD);
    std::vector<unsigned char> block(kDibHeaderBytes + colorBytes +
                                     static_cast<std::size_t>(coded));
    unsigned char* stream = block.data() + kDibHeaderBytes + colorBytes;
    input.fnSeek(header.m_nPixelsAt);
    fnReadExactly(input, stream, static_cast<std::size_t>(coded));

    BITMAPINFOHEADER info = header.m_Info;
    info.biSize = kDibHeaderBytes;
    info.biClrUsed = header.m_nColors;
    info.biSizeImage = static_cast<DWORD>(fnRleLength(stream, static_cast<std::size_t>(coded)));
    std::memcpy(block.data(), &info, sizeof(info));
    std::memcpy(block.data() + kDibHeaderBytes, header.m_Colors, colorBytes);
    CqImage& image = target.fnGetImage();
    const std::int32_t dpiX = image.DpiX;
    const std::int32_t dpiY = image.DpiY;
    image = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    image.DpiX = dpiX;
    image.DpiY = dpiY;
    target.fnReport(1, 1);
}

void fnReadBmp(CodecInput& input, PictureTarget& target) {
    const BmpHeader header = fnReadBmpHeader(input);
    if (header.m_Info.biCompression == BI_RLE8)
        fnReadRle(input, header, target);
    else
        fnReadPlain(input, header, target);
    target.fnNoteReduced(header.fnGetParts());
    target.fnSetDotsPerMeter(header.m_Info.biXPelsPerMeter, header.m_Info.biYPelsPerMeter);
}

/// The bytes ahead of the pixels: file header, information header with masks, colour table.
std::vector<unsigned char> fnMakeHeaders(const PictureSource& source, std::uint64_t pixelBytes) {
    const unsigned int bits = source.fnGetBitCount();
    // The longer header, for pictures with alpha, holds the masks.
    const std::uint32_t infoBytes =
        bits == 32 ? std::uint32_t{kDibV4HeaderBytes} : std::uint32_t{kDibHeaderBytes};
    const std::uint32_t maskBytes = bits == 16 ? std::uint32_t{kDibMaskBytes} : 0;
    const std::uint32_t pixelsAt = kBmpFileHeaderBytes + infoBytes + maskBytes +
                                   source.fnGetColorCount() * std::uint32_t{sizeof(RGBQUAD)};
    if (pixelBytes > UINT32_MAX - pixelsAt)
        throw CodecFailure{MESSAGE_CANNOT_SAVE};

    std::vector<unsigned char> bytes(pixelsAt);
    const auto put = [&bytes](std::size_t at, const auto& value) {
        std::memcpy(bytes.data() + at, &value, sizeof(value));
    };
    bytes[0] = 'B';
    bytes[1] = 'M';
    put(2, static_cast<std::uint32_t>(pixelsAt + pixelBytes));
    put(10, pixelsAt);

    BITMAPINFOHEADER info =
        fnMakeDibHeader(source.fnGetWidth(), static_cast<std::int32_t>(source.fnGetHeight()), bits);
    info.biSize = infoBytes;
    info.biCompression = bits == 16 || bits == 32 ? BI_BITFIELDS : BI_RGB;
    info.biSizeImage = static_cast<DWORD>(pixelBytes);
    info.biXPelsPerMeter = static_cast<LONG>(source.fnGetDotsPerMeterX());
    info.biYPelsPerMeter = static_cast<LONG>(source.fnGetDotsPerMeterY());
    if (bits <= 8 && source.fnGetColorCount() < 1u << bits)
        info.biClrUsed = source.fnGetColorCount();
    put(kBmpFileHeaderBytes, info);

    constexpr std::size_t kBehindInfo = kBmpFileHeaderBytes + kDibHeaderBytes;
    if (bits == 16)
        std::memcpy(bytes.data() + kBehindInfo, kDibMasks565.data(), kDibMaskBytes);
    if (bits == 32) {
        put(kBehindInfo, kDibMasks8888);
        put(kBehindInfo + sizeof(kDibMasks8888), kSrgbSpace);
    }
    if (bits <= 8)
        std::memcpy(bytes.data() + kBehindInfo, source.fnGetColors(),
                    source.fnGetColorCount() * sizeof(RGBQUAD));
    return bytes;
}

/// Converts 5-6-5 pixels as images store them to the file's, low byte first.
void fnMakeLowFirst(unsigned char* pixels, std::size_t count) {
    for (; count != 0; --count, pixels += 2)
        fnStoreLowFirst(pixels, fnLoadHighFirst(pixels));
}

void fnWriteBmp(CodecOutput& output, PictureSource& source, const CqPictureOptions&) {
    const unsigned int bits = source.fnGetBitCount();
    const std::uint32_t width = source.fnGetWidth();
    const std::uint32_t height = source.fnGetHeight();
    const std::uint64_t stride = fnDibRowBytes(width, bits);
    const std::vector<unsigned char> headers = fnMakeHeaders(source, stride * height);
    bool done = output.fnWrite(headers.data(), headers.size());

    const CqPixelReader reader = source.fnMakeReader(bits == 24   ? PIXEL_BGR24
                                                     : bits == 32 ? PIXEL_BGRA32
                                                                  : PIXEL_STORED);
    const auto indices = std::make_unique_for_overwrite<unsigned char[]>(bits == 4 ? width : 0);
    const auto stored = std::make_unique<unsigned char[]>(stride);
    for (std::uint32_t i = 0; i < height && done; ++i) {
        source.fnFetch(reader, height - 1 - i, bits == 4 ? indices.get() : stored.get());
        if (bits == 4)
            fnJoinNibbles(indices.get(), width, stored.get());
        else if (bits == 16)
            fnMakeLowFirst(stored.get(), width);
        done = output.fnWrite(stored.get(), stride);
        source.fnReport(std::uint64_t{i} + 1, height);
    }
    if (!done)
        throw CodecFailure{MESSAGE_CANNOT_SAVE};
}

} // namespace

const PictureCodec kBmpCodec = {
    {PICTURE_BMP, "BMP", "bmp dib", true, true}, fnKnowsBmp, fnReadBmp, fnWriteBmp};

} // namespace q32
