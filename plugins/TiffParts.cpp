#include "plugins/CodecInput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/PictureWork_p.h"
#include "plugins/TiffParts_p.h"
#include "plugins/TiffTags_p.h"
#include "q32Base/framework/Memory.h"

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace q32 {

namespace {

/// Nanoseconds in which a decoded byte is made and stored, at least.
constexpr double kDecodeTime = 2.0;
/// Pictures that take less than so many overheads of a task are read by one thread.
constexpr double kMinReadTime = 40.0;
/// What a thread does between two reports, in overheads.
constexpr double kReadBatchTime = 200.0;
/// Larger parts would keep the host waiting for reports.
constexpr std::size_t kMaxPartBytes = std::size_t{2} << 20;
constexpr std::size_t kMaxCodedBytes = std::size_t{16} << 20;

std::uint16_t fnGetCompression(TIFF* file) {
    std::uint16_t compression = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(file, TIFFTAG_COMPRESSION, &compression);
    return compression;
}

/// Whether the last pixel of a part and the first of the one beside it lie in one byte of a 4-bit
/// image: libtiff reads tiles of any width.
bool fnShareBytes(const TiffLayout& layout) {
    return layout.fnGetBitCount() == 4 && layout.m_nTileWidth % 2 != 0 &&
           layout.m_nTileWidth < layout.m_nWidth;
}

} // namespace

bool fnIsDeflated(TIFF* file) {
    const std::uint16_t compression = fnGetCompression(file);
    return compression == COMPRESSION_DEFLATE || compression == COMPRESSION_ADOBE_DEFLATE;
}

std::uint32_t fnCountParts(const TiffLayout& layout) {
    const CheckedSize across = CheckedSize(layout.m_nWidth).fnDivideUp(layout.m_nTileWidth);
    const CheckedSize down = CheckedSize(layout.m_nHeight).fnDivideUp(layout.m_nTileHeight);
    return (across * down).fnGet<std::uint32_t>().value_or(UINT32_MAX);
}

TiffPart fnGetPart(const TiffLayout& layout, std::uint32_t index) {
    const auto across =
        CheckedSize(layout.m_nWidth).fnDivideUp(layout.m_nTileWidth).fnGetOrThrow<std::uint32_t>();
    const std::uint32_t x = index % across * layout.m_nTileWidth;
    const std::uint32_t y = index / across * layout.m_nTileHeight;
    return {x, y, std::min(layout.m_nTileWidth, layout.m_nWidth - x),
            std::min(layout.m_nTileHeight, layout.m_nHeight - y)};
}

TiffPartDecoder::TiffPartDecoder(const TiffReading& reading, std::size_t rowBytes,
                                 std::size_t partBytes)
    : m_Layout(reading.m_Layout), m_nRowBytes(rowBytes), m_nPartBytes(partBytes),
      m_Bytes(reading.m_Input, reading.m_Tags),
      m_File(m_Bytes, "rm", reading.m_Target.fnGetLimits().m_nCodecBytes),
      m_Samples(m_Layout, reading.m_Target.fnGetLimits().m_bDither),
      m_Writer(reading.m_Target.fnGetImage(), PIXEL_STORED),
      m_Decoded(std::make_unique<unsigned char[]>(partBytes)),
      m_Pixels(std::make_unique<unsigned char[]>(std::size_t{m_Layout.m_nTileWidth} *
                                                 fnCodecBytes(m_Layout.fnGetBitCount()))) {
    m_bDeflate = fnIsDeflated(m_File);
    // A strip that is read row by row is decoded by zlib, and a complete part by another library,
    // which doesn't accept the same damage.
    if (m_bDeflate && !m_Layout.m_bTiled && m_Layout.m_nTileHeight > 1)
        TIFFSetField(m_File, TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB);
    m_File.fnWatchWarnings();
}

bool TiffPartDecoder::fnDecodeSamples(std::uint32_t index, const TiffPart& part,
                                      unsigned char* coded, std::size_t count) {
    const std::size_t bytes =
        m_Layout.m_bTiled ? m_nPartBytes : m_nRowBytes * std::size_t{part.m_nRows};
    if (m_bDeflate)
        std::memset(m_Decoded.get(), 0, bytes);
    return TIFFReadFromUserBuffer(m_File, index, coded, static_cast<tmsize_t>(count),
                                  m_Decoded.get(), static_cast<tmsize_t>(bytes)) != 0 &&
           !m_File.fnHasWarned() && !m_File.fnHasNoMemory();
}

TIFF_PART_STATE TiffPartDecoder::fnStore(const TiffPart& part) {
    for (std::uint32_t i = 0; i < part.m_nRows; ++i) {
        const std::uint32_t y = part.m_nY + i;
        m_Samples.fnConvert(m_Decoded.get() + i * m_nRowBytes, part.m_nX, y, part.m_nColumns,
                            m_Pixels.get());
        if (!m_Writer.fnWriteRow(part.m_nX, y, part.m_nColumns, m_Pixels.get()))
            return TIFF_PART_LOST;
    }
    return TIFF_PART_STORED;
}

TIFF_PART_STATE TiffPartDecoder::fnDecode(std::uint32_t index, unsigned char* coded,
                                          std::size_t count) noexcept {
    return fnTryMemoryOr(TIFF_PART_LEFT, [&] {
        const TiffPart part = fnGetPart(m_Layout, index);
        // A handle that was refused memory for its tables must not be used any more.
        if (m_File.fnHasNoMemory())
            return TIFF_PART_LEFT;
        // A last strip of one row is a complete part even row by row.
        if (m_bDeflate && !m_Layout.m_bTiled && part.m_nRows == 1 && m_Layout.m_nTileHeight > 1)
            return TIFF_PART_LEFT;
        return fnDecodeSamples(index, part, coded, count) ? fnStore(part) : TIFF_PART_LEFT;
    });
}

TiffParts::TiffParts(const TiffReading& reading, std::size_t rowBytes, std::size_t partBytes,
                     CheckedSize taken, CheckedSize each)
    : m_Reading(reading), m_nParts(fnCountParts(reading.m_Layout)),
      m_nCompression(fnGetCompression(reading.m_File)),
      m_nMaxCoded(partBytes + partBytes / 2 + 4096) {
    const double time = kDecodeTime * static_cast<double>(partBytes);
    const double overhead = fnGetTaskOverhead();
    if (fnCountPictureThreads() < 2 || m_nParts < 3 || reading.m_Layout.m_bSeparate ||
        partBytes > kMaxPartBytes || time * m_nParts < kMinReadTime * overhead || !fnIsDivisible())
        return;
    // The first part is read by the one handle.
    std::uint32_t threads = std::min(fnCountPictureThreads(), m_nParts - 1);
    const std::size_t mostParts = kMaxCodedBytes / m_nMaxCoded / threads + 1;
    const auto perThread = static_cast<std::size_t>(std::clamp(
        std::ceil(kReadBatchTime * overhead / time), 1.0, static_cast<double>(mostParts)));
    const auto fits = [&] {
        const CheckedSize all = (each + partBytes * 2 + perThread * m_nMaxCoded) * threads + taken;
        return all.fnIsWithin(reading.m_Target.fnGetLimits().m_nCodecBytes);
    };
    while (threads > 1 && !fits())
        --threads;
    if (threads < 2)
        return;
    // Numbers of workers are below that of the service's threads, and below that of pieces.
    const bool all = threads == fnCountPictureThreads();
    m_Loaded.resize(std::min<std::size_t>(all ? perThread * threads : threads, m_nParts - 1));
    m_Coded = std::make_unique_for_overwrite<unsigned char[]>(m_Loaded.size() * m_nMaxCoded);
    for (std::size_t i = 0; i < m_Loaded.size(); ++i)
        m_Loaded[i].m_pCoded = m_Coded.get() + i * m_nMaxCoded;
    while (m_Decoders.size() < threads)
        m_Decoders.push_back(std::make_unique<TiffPartDecoder>(reading, rowBytes, partBytes));
}

/// Only parts that share no byte of the image, in codings whose parts are decoded independently of
/// each other, and fill all of their bytes or fail: what a handle has decoded before has no effect
/// then.
bool TiffParts::fnIsDivisible() const {
    if (fnShareBytes(m_Reading.m_Layout))
        return false;
    switch (m_nCompression) {
    case COMPRESSION_NONE: // else one thread copies as fast as the memory allows
        return !TiffSamples::fnArePlain(m_Reading.m_Layout);
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_ZSTD:
        return true;
    case COMPRESSION_LZW:
        return !fnBeginsOld();
    case COMPRESSION_PACKBITS: // row by row, runs must not pass the end of a row
        return m_Reading.m_Layout.m_bTiled;
    default:
        return false;
    }
}

/// Whether a part may have the bit order of the first versions of LZW. Once a handle has met that
/// in its first part, it decodes all others so. Every other part begins with a clear code.
bool TiffParts::fnIsOldLzw(const unsigned char* coded) const {
    return m_nCompression == COMPRESSION_LZW && coded[0] == 0;
}

bool TiffParts::fnBeginsOld() const {
    unsigned char coded[1] = {};
    TiffSecondInput bytes(m_Reading.m_Input, m_Reading.m_Tags);
    bytes.fnSeek(TIFFGetStrileOffset(m_Reading.m_File, 0));
    bytes.fnRead(coded, sizeof(coded));
    return fnIsOldLzw(coded);
}

void TiffParts::fnLoad(std::uint32_t index, std::size_t count, Loaded& part) {
    part.m_nCount = count;
    const CountedReports reports(m_Reading.m_Input);
    const auto read = m_Reading.m_Layout.m_bTiled ? TIFFReadRawTile : TIFFReadRawStrip;
    const auto size = static_cast<tmsize_t>(count);
    const bool loaded = read(m_Reading.m_File, index, part.m_pCoded, size) == size;
    part.m_nReports = reports.fnGet();
    part.m_eState = loaded && !fnIsOldLzw(part.m_pCoded) ? TIFF_PART_LOADED : TIFF_PART_LEFT;
}

std::uint32_t TiffParts::fnDecode(std::uint32_t first) {
    const std::uint32_t most =
        static_cast<std::uint32_t>(std::min<std::size_t>(m_Loaded.size(), m_nParts - first));
    std::uint32_t loaded = 0;
    while (loaded < most) {
        const std::uint64_t count = TIFFGetStrileByteCount(m_Reading.m_File, first + loaded);
        if (count == 0 || count > m_nMaxCoded)
            break;
        Loaded& part = m_Loaded[loaded];
        fnLoad(first + loaded, static_cast<std::size_t>(count), part);
        ++loaded;
        if (part.m_eState == TIFF_PART_LEFT)
            break;
    }
    if (loaded > 0)
        fnRunPieces(loaded, [&](std::uint32_t i, std::uint32_t worker) {
            Loaded& part = m_Loaded[i];
            if (part.m_eState == TIFF_PART_LOADED)
                part.m_eState =
                    m_Decoders[worker]->fnDecode(first + i, part.m_pCoded, part.m_nCount);
        });
    return loaded;
}

TIFF_PART_STATE TiffParts::fnTake(std::uint32_t i) {
    for (std::uint64_t report = 0; report < m_Loaded[i].m_nReports; ++report)
        m_Reading.m_Target.fnGetSteps().fnTick();
    return m_Loaded[i].m_eState;
}

} // namespace q32
