#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"

#include <algorithm>
#include <cstring>

namespace q32 {

void PictureSteps::fnReport(std::uint64_t done, std::uint64_t total) {
    const auto percent = static_cast<unsigned int>(done >= total ? 100 : done * 100 / total);
    m_nPercent = std::max(m_nPercent, percent);
    m_bReported = true;
    fnCallHost();
}

void PictureSteps::fnTick() {
    if (!m_bReported)
        fnCallHost();
    m_bReported = false;
}

void PictureSteps::fnCallHost() {
    const auto now = m_nMilliseconds > 0 ? Clock::now() : m_Start;
    if (m_nMilliseconds > 0 && now - m_Start >= std::chrono::milliseconds(m_nMilliseconds))
        throw CodecFailure{MESSAGE_CANNOT_READ, m_eLimit};
    if (!m_pProgress)
        return;
    bool aborted = false;
    m_pProgress->fnOnProgress(m_nPercent, aborted);
    if (aborted)
        throw CodecFailure{MESSAGE_NONE};
    if (m_nMilliseconds > 0)
        m_Start += Clock::now() - now;
}

void PictureTarget::fnCheckSize(std::uint64_t width, std::uint64_t height,
                                unsigned int bitCount) const {
    constexpr std::uint64_t kMaxSide = INT32_MAX;
    constexpr std::uint64_t kMaxBytes = UINT32_MAX;
    if (width == 0 || height == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};
    const CheckedSize bytes = (CheckedSize(width) * bitCount).fnDivideUp(8) * height;
    if (width > kMaxSide || height > kMaxSide || !bytes.fnIsWithin(kMaxBytes))
        throw CodecFailure{MESSAGE_NO_MEMORY};
    if (width * height > m_Limits.m_nPixels)
        throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_PIXELS};
    if (!bytes.fnIsWithin(m_Limits.m_nStorageBytes))
        throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_STORAGE};
    const auto most = (CheckedSize(m_nFileBytes) * m_Limits.m_nExpansion).fnGet<std::uint64_t>();
    if (!bytes.fnIsWithin(m_Limits.m_nSmallBytes) && most && !bytes.fnIsWithin(*most))
        throw CodecFailure{MESSAGE_CORRUPTED, PICTURE_LIMIT_EXPANSION};
}

void PictureTarget::fnCheckCodecBytes(CheckedSize bytes) const {
    if (!bytes.fnIsWithin(m_Limits.m_nCodecBytes))
        throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
}

unsigned int PictureTarget::fnChooseReduction(std::uint32_t width, std::uint32_t height,
                                              unsigned int most) {
    const auto reaches = [](std::uint32_t length, std::uint32_t side, unsigned int reduction) {
        return side > 0 && (std::uint64_t{length} + reduction - 1) / reduction >= side;
    };
    while (m_nReduction < most && (reaches(width, m_Limits.m_nFitWidth, 2 * m_nReduction) ||
                                   reaches(height, m_Limits.m_nFitHeight, 2 * m_nReduction)))
        m_nReduction *= 2;
    return m_nReduction;
}

void PictureTarget::fnSetTitle(const char* title) {
    if (std::strlen(title) > m_Limits.m_nTextBytes)
        fnNoteReduced(PICTURE_PART_NOTES);
    else
        m_Image.Title = title;
}

void PictureTarget::fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                            const RGBQUAD* palette, unsigned int count, PIXEL_ORDER order) {
    fnCheckSize(width, height, bitCount);
    m_nWidth = static_cast<std::uint32_t>(width);
    m_nHeight = static_cast<std::uint32_t>(height);
    m_Image.fnAlloc(m_bPixels ? m_nWidth : 1, m_bPixels ? m_nHeight : 1, bitCount, palette, count);
    m_Reader.emplace(m_Image, PIXEL_STORED);
    m_Writer.emplace(m_Image, order);
}

void PictureTarget::fnCheckRoom(std::uint64_t fileBytes, std::uint64_t rowBytes, std::uint64_t rows,
                                std::uint64_t ratio) {
    constexpr std::uint64_t kBeyondAnyDisk = std::uint64_t{1} << 48;
    const std::uint64_t most = (std::min(fileBytes, kBeyondAnyDisk) + 1) * ratio;
    if (rows > 0 && rowBytes > most / rows)
        throw CodecFailure{MESSAGE_CORRUPTED};
}

void PictureTarget::fnCheckSparseRoom(std::uint64_t fileBytes, std::uint64_t rowBytes,
                                      std::uint64_t rows) {
    constexpr std::uint64_t kRatio = 65536;
    constexpr std::uint64_t kMinBytes = 1024;
    fnCheckRoom(std::max(fileBytes, kMinBytes), rowBytes, rows, kRatio);
}

void PictureTarget::fnStore(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                            const unsigned char* in) {
    if (!m_Writer->fnWriteRow(x, y, count, in)) // its scratch file lost pixels
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

void PictureTarget::fnFetch(std::uint32_t x, std::uint32_t y, std::uint32_t count,
                            unsigned char* out) {
    if (!m_Reader->fnReadRow(x, y, count, out))
        throw CodecFailure{MESSAGE_NO_MEMORY};
}

void PictureTarget::fnSetDotsPerMeter(double x, double y) {
    const std::int32_t dpiX = fnDotsPerInch(x);
    const std::int32_t dpiY = fnDotsPerInch(y);
    if (dpiX > 0 && dpiY > 0) {
        m_Image.DpiX = dpiX;
        m_Image.DpiY = dpiY;
    }
}

} // namespace q32
