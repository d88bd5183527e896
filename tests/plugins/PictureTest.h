/// @file
/// Shared by the tests of picture files: a headless world with the library attached, images
/// of seeded noise, and pixels as plain bytes.
#pragma once

#include "platforms/headless/headless.h"
#include "plugins/PictureFile.h"
#include "q32Base/image/CqImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// A row of an image: one byte per pixel at 4 and 8 bits, the stored bytes at other depths.
Bytes fnRowOf(CqImage& image, std::uint32_t y);
/// All rows, from the top down.
Bytes fnPixelsOf(CqImage& image);
/// The colours that an image shows, as red, green, blue for each pixel, whatever its depth.
Bytes fnColorsOf(CqImage& image);
std::vector<RGBQUAD> fnPaletteOf(CqImage& image);
bool operator==(const RGBQUAD& a, const RGBQUAD& b);

/// An image of seeded noise; up to 8 bits with a palette of `colors` random entries.
std::unique_ptr<CqImage> fnMakeNoise(std::uint32_t width, std::uint32_t height, unsigned int bits,
                                     unsigned int seed, unsigned int colors = 0);

/// Records its calls, and aborts at a chosen one.
class RecordedProgress : public CqPictureProgress {
public:
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        m_Percents.push_back(percent);
        aborted = m_Percents.size() == m_nAbortAt;
    }

    std::vector<unsigned int> m_Percents;
    std::size_t m_nAbortAt = 0; ///< counted from 1; 0 for never
};

class PictureTest : public testing::Test {
protected:
    PictureTest();
    ~PictureTest() override;

    void fnPut(std::string_view bytes) { m_World->m_pDisks->fnPutFile(kPath, bytes); }
    void fnPut(const Bytes& bytes) {
        fnPut(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    std::string fnGet() const { return m_World->m_pDisks->fnGetFile(kPath).value_or("missing"); }
    /// Reads the file into `m_Image`.
    CqPictureResult fnRead(CqPictureProgress* progress = nullptr) {
        return q32ReadPicture(kPath, m_Image, progress);
    }
    /// Reads it likewise, and expects its headers to declare what was read.
    CqPictureResult fnReadAsDescribed();
    CqPictureResult fnWrite(CqImage& image, PICTURE_FORMAT format,
                            const CqPictureOptions& options = {},
                            CqPictureProgress* progress = nullptr) {
        return q32WritePicture(kPath, image, format, options, progress);
    }
    /// Expects the file to be refused with a message, and the image to stay unchanged.
    void fnExpectRefused(int message);

    static constexpr char kPath[] = "C:\\Temp\\picture";

    std::shared_ptr<CqHeadlessWorld> m_World;
    CqImage& m_Image;

private:
    std::unique_ptr<CqImage> m_pImage;
};
