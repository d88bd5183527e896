/// @file
/// Shared by the tests of the tone operations.
#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/module/Module.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<std::uint8_t>;

/// The library in a world with a screen of 24 bits.
class ToneWorld : public testing::Test {
protected:
    void SetUp() override {
        CqHeadlessOptions options;
        options.m_Mode.m_nBits = 24;
        m_World = q32HeadlessWorld(options);
        ASSERT_TRUE(q32Attach(m_World->fnPlatform()));
    }
    void TearDown() override {
        EXPECT_EQ(m_World->m_pMisuses->fnGetAll(), std::vector<std::string>());
        q32Detach();
    }

    /// Rows tile by tile, which is the order of the image's block.
    static Bytes fnRead(CqImage& image, std::uint32_t from = 0, std::uint32_t to = UINT_MAX) {
        Bytes bytes;
        CqImageTile tile;
        for (std::uint32_t i = from; i < std::min(to, image.TileCount); ++i) {
            image.fnAccessTile(i, &tile);
            bytes.insert(bytes.end(), tile.Pixels, tile.Pixels + tile.Size);
        }
        return bytes;
    }
    static void fnWrite(CqImage& image, const Bytes& bytes) {
        CqImageTile tile;
        std::size_t at = 0;
        for (std::uint32_t i = 0; i < image.TileCount; ++i) {
            image.fnAccessTile(i, &tile);
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), tile.Size, tile.Pixels);
            at += tile.Size;
        }
    }
    std::unique_ptr<CqImage> fnNoise(unsigned width, unsigned height, unsigned bits) {
        auto image = std::make_unique<CqImage>(width, height, bits, nullptr, bits < 9 ? 16u : 0u);
        Bytes bytes(fnRead(*image).size());
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(m_Random());
        fnWrite(*image, bytes);
        return image;
    }
    std::shared_ptr<CqHeadlessWorld> m_World;
    Random m_Random{7};
};

/// The number wrapped to 32 bits.
inline std::int64_t fnIn32Bits(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

} // namespace q32::test
