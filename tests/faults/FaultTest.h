/// @file
/// The library on this system, with all large blocks in scratch files of a folder, and pictures to
/// compare.
#pragma once

#include "q32Base/q32Base.h"
#include "tests/faults/FaultRun.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace q32::test {

class FaultTest : public testing::Test {
protected:
    void SetUp() override {
        const CqPlatform platform = q32PosixPlatform(fnOptions());
        fnStartThreads(platform);
        ASSERT_TRUE(q32Attach(platform));
        q32GetVMPolicy()->fnSetRamLimit(0);
    }
    void TearDown() override { q32Detach(); }

    /// The threads load libraries for their first task: not while calls fail. The leak sanitizer
    /// doesn't find the loader's blocks, since malloc is ours here.
    static void fnStartThreads(const CqPlatform& platform) {
        class Nothing final : public CqWorkPieces {
            void fnRunPiece(std::uint32_t, std::uint32_t) noexcept override {}
        } nothing;
        if (!platform.m_pWork)
            return;
        if (__lsan_disable)
            __lsan_disable();
        platform.m_pWork->fnRun(64, nothing);
        if (__lsan_enable)
            __lsan_enable();
    }

    CqPosixOptions fnOptions() const {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        return options;
    }

    Folder m_Folder{kFaultRoot};
};

/// What a picture shows.
struct Look {
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    std::uint32_t m_nBits = 0;
    std::vector<unsigned char> m_Pixels;

    bool operator==(const Look&) const = default;
};

inline Look fnLook(const CqImage& image) {
    if (!image.TileMap)
        return {};
    Look look{image.Width, image.Height, image.BitCount, {}};
    look.m_Pixels.resize(std::size_t{4} * image.Width * image.Height);
    const CqPixelReader reader(image, PIXEL_BGRA32);
    for (std::uint32_t y = 0; y < image.Height; ++y)
        EXPECT_TRUE(reader.fnReadRow(0, y, image.Width,
                                     look.m_Pixels.data() + std::size_t{4} * image.Width * y));
    return look;
}

/// Sets all bytes of the pixels to a pattern.
inline void fnPaint(CqImage& image, unsigned int seed) {
    CqImageLine line;
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        image.fnAccessLine(y, &line, false);
        for (std::uint32_t i = 0; i < image.RowBytes; ++i)
            line.LineBuffer[i] = static_cast<unsigned char>(i * 7 + y * 13 + seed);
    }
}

} // namespace q32::test
