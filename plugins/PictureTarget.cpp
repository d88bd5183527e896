#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"

#include <algorithm>

namespace q32 {

void PictureSteps::fnTell(std::uint64_t done, std::uint64_t total) {
    if (!m_pProgress)
        return;
    const auto percent = static_cast<unsigned int>(done >= total ? 100 : done * 100 / total);
    m_nPercent = std::max(m_nPercent, percent);
    bool aborted = false;
    m_pProgress->fnOnProgress(m_nPercent, aborted);
    if (aborted)
        throw CodecFailure{MESSAGE_NONE};
}

void PictureTarget::fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                            const RGBQUAD* palette, unsigned int count) {
    constexpr std::uint64_t kMaxSide = INT32_MAX;
    constexpr std::uint64_t kMaxBytes = UINT32_MAX;
    if (width == 0 || height == 0)
        throw CodecFailure{MESSAGE_CORRUPTED};
    if (width > kMaxSide || height > kMaxSide || (width * bitCount + 7) / 8 > kMaxBytes / height)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    m_Image.fnAlloc(static_cast<unsigned int>(width), static_cast<unsigned int>(height), bitCount,
                    palette, count);
    m_Reader.emplace(m_Image, PIXEL_STORED);
    m_Writer.emplace(m_Image, PIXEL_STORED);
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
