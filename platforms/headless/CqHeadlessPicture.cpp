#include "platforms/headless/CqHeadlessPicture.h"

#include <fstream>

namespace {

bool fnSave(const std::string& path, const std::string& bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    return stream.good();
}

} // namespace

std::uint32_t CqHeadlessPicture::fnGetPixel(std::size_t x, std::size_t y) const {
    const std::uint8_t* pixel = &m_Rgb[3 * (y * m_nWidth + x)];
    return static_cast<std::uint32_t>(pixel[0]) << 16 | static_cast<std::uint32_t>(pixel[1]) << 8 |
           pixel[2];
}

std::string CqHeadlessPicture::fnToPpm() const {
    std::string bytes =
        "P6\n" + std::to_string(m_nWidth) + " " + std::to_string(m_nHeight) + "\n255\n";
    bytes.append(m_Rgb.begin(), m_Rgb.end());
    return bytes;
}

std::string CqHeadlessPicture::fnToBmp() const {
    constexpr std::size_t kHeaders = 14 + 40;
    const std::size_t stride = (3 * m_nWidth + 3) / 4 * 4;
    std::string bytes;
    bytes.reserve(kHeaders + stride * m_nHeight);
    const auto put = [&](std::size_t value, int count) {
        for (; count > 0; --count, value >>= 8)
            bytes += static_cast<char>(value & 0xFF);
    };
    bytes += "BM";
    put(kHeaders + stride * m_nHeight, 4);
    put(0, 4);
    put(kHeaders, 4);
    put(40, 4);
    put(m_nWidth, 4);
    put(m_nHeight, 4);
    put(1, 2);  // planes
    put(24, 2); // bits per pixel
    put(0, 4);  // uncompressed
    put(stride * m_nHeight, 4);
    put(0, 4); // no resolution
    put(0, 4);
    put(0, 4); // no colour table
    put(0, 4);
    for (std::size_t y = m_nHeight; y-- > 0;) {
        for (std::size_t x = 0; x < m_nWidth; ++x)
            put(fnGetPixel(x, y), 3); // low byte first: blue, green, red
        bytes.append(stride - 3 * m_nWidth, '\0');
    }
    return bytes;
}

bool CqHeadlessPicture::fnSavePpm(const std::string& path) const {
    return fnSave(path, fnToPpm());
}

bool CqHeadlessPicture::fnSaveBmp(const std::string& path) const {
    return fnSave(path, fnToBmp());
}
