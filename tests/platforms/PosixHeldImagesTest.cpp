// Images in memory that was held back.
#include "q32Base/image/CqMask.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <vector>

using namespace q32::test;

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20;
constexpr std::size_t kPage = 4096;

/// The library on this system, with images in RAM.
class PosixHeldImages : public testing::Test {
protected:
    void SetUp() override { fnAttach(); }
    void TearDown() override { q32Detach(); }

    void fnAttach() const {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        ASSERT_TRUE(q32Attach(q32PosixPlatform(options)));
        q32GetVMPolicy()->fnSetRamLimit(std::uint64_t{1} << 30);
    }

    /// Makes and frees blocks of some sizes, full of noise.
    static void fnLeaveNoise() {
        std::vector<std::unique_ptr<q32::PixelBlock>> blocks;
        for (std::uint32_t size = 64 * 1024; size < 8 * kMega; size += size / 10) {
            blocks.push_back(std::make_unique<q32::PixelBlock>(size));
            std::memset(blocks.back()->fnGetBytes(), 0xC5, size);
        }
    }

    Folder m_Folder;
};

std::vector<unsigned char> fnPixels(const CqImage& image) {
    const CqTileMap& map = *image.TileMap;
    return {map.PixelBuffer, map.PixelBuffer + map.BufferSize};
}

/// A picture of noise that depends on the depth alone.
std::unique_ptr<CqImage> fnPicture(unsigned int bits, const RGBQUAD* palette = nullptr) {
    auto image = std::make_unique<CqImage>(701, 503, bits, palette, 0u);
    std::mt19937 random(bits);
    std::generate_n(image->TileMap->PixelBuffer, image->TileMap->BufferSize,
                    [&] { return static_cast<unsigned char>(random()); });
    return image;
}

/// The pixels that each kind of operation on new storage makes of a picture.
std::vector<std::vector<unsigned char>> fnAllResults(unsigned int bits, const RGBQUAD* palette) {
    const CqColor back(9, 8, 7, 6);
    const std::vector<std::function<void(CqImage&)>> operations = {
        [](CqImage& image) { image.fnResample(900, 333, false, nullptr); },
        [](CqImage& image) { image.fnResample(350, 820, false, nullptr); },
        [](CqImage& image) { image.fnResample(900, 333, true, nullptr); },
        [](CqImage& image) { image.fnResample(350, 820, true, nullptr); },
        [](CqImage& image) { image.fnResample(0.7, 1.0, nullptr); },
        [](CqImage& image) { image.fnResample(1.0, 1.5, nullptr); },
        [&](CqImage& image) { image.fnRotate(90.0, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(-90.0, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(180.0, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(90.0 + 1e-11, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(180.0 + 1e-11, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(270.0 - 1e-11, back, nullptr, true, nullptr); },
        [&](CqImage& image) { image.fnRotate(30.0, back, nullptr, false, nullptr); },
        [&](CqImage& image) { image.fnRotate(30.0, back, nullptr, true, nullptr); },
        [](CqImage& image) { image.fnConvert(4, false, nullptr); },
        [](CqImage& image) { image.fnConvert(8, false, nullptr); },
        [](CqImage& image) { image.fnConvert(16, false, nullptr); },
        [](CqImage& image) { image.fnConvert(24, false, nullptr); },
        [](CqImage& image) { image.fnConvert(32, false, nullptr); },
        [](CqImage& image) {
            CqImage copy(image);
            image.fnAlloc(600, 300, 24, nullptr, 0);
            copy.fnSwapBuf(image);
        },
        [](CqImage& image) { image.fnAlloc(650, 550, 32, nullptr, 0); },
    };
    std::vector<std::vector<unsigned char>> results;
    for (const auto& operation : operations) {
        const auto image = fnPicture(bits, palette);
        operation(*image);
        results.push_back(fnPixels(*image));
    }
    return results;
}

} // namespace

TEST_F(PosixHeldImages, EveryOperationGivesTheSamePixelsInMemoryThatWasUsed) {
    for (const auto& [bits, palette] : {std::pair<unsigned int, const RGBQUAD*>{4, nullptr},
                                        {8, nullptr},
                                        {8, q32GreyRamp},
                                        {16, nullptr},
                                        {24, nullptr},
                                        {32, nullptr}}) {
        q32GetVMPolicy()->fnSetHeldLimit(0);
        const auto expected = fnAllResults(bits, palette);
        ASSERT_EQ(q32GetVMPolicy()->fnGetHeldBytes(), 0u);
        q32GetVMPolicy()->fnSetHeldLimit(200 * kMega);
        fnLeaveNoise();
        ASSERT_GT(q32GetVMPolicy()->fnGetHeldBytes(), 40 * kMega);
        const auto results = fnAllResults(bits, palette);
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_TRUE(results[i] == expected[i]) << bits << " bits, operation " << i;
        q32GetVMPolicy()->fnReleaseHeld();
    }
}

TEST_F(PosixHeldImages, SumsOfMasksAreTheSameInMemoryThatWasUsed) {
    const auto sum = [](bool add, bool empty) {
        CqMask own;
        if (!empty) {
            own.fnAlloc(700, 500);
            std::memset(own.TileMap->PixelBuffer, 90, own.TileMap->BufferSize);
        }
        CqMask other(600, 450);
        std::memset(other.TileMap->PixelBuffer, 33, other.TileMap->BufferSize);
        other.fnSetPos(CPoint(300, 200));
        own.fnMerge(other, add);
        CqMask copy(own);
        return copy.TileMap ? fnPixels(copy) : std::vector<unsigned char>();
    };
    for (const bool add : {false, true})
        for (const bool empty : {false, true}) {
            q32GetVMPolicy()->fnSetHeldLimit(0);
            const auto expected = sum(add, empty);
            q32GetVMPolicy()->fnSetHeldLimit(200 * kMega);
            fnLeaveNoise();
            EXPECT_TRUE(sum(add, empty) == expected) << add << empty;
        }
}

TEST_F(PosixHeldImages, ANewImageAndANewBlockAreZeroInMemoryThatWasUsed) {
    const auto isZero = [](const unsigned char* bytes, std::size_t size) {
        return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    };
    fnLeaveNoise();
    const CqImage image(1001, 503, 24, nullptr, 0);
    EXPECT_TRUE(isZero(image.TileMap->PixelBuffer, image.TileMap->BufferSize));
    const q32::PixelBlock samples(1000000);
    EXPECT_TRUE(isZero(samples.fnGetBytes(), samples.fnGetSize()));
    EXPECT_LT(q32GetVMPolicy()->fnGetHeldBytes(), 90 * kMega);
}

TEST_F(PosixHeldImages, WhatIsHeldBackCountsAsFree) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    {
        const CqImage image(1000, 1000, 32, nullptr, 0);
        EXPECT_EQ(policy.fnGetRamUsed(), 4000000u);
        EXPECT_EQ(policy.fnGetHeldBytes(), 0u);
    }
    EXPECT_EQ(policy.fnGetRamUsed(), 0u);
    EXPECT_EQ(policy.fnGetRamBytes(), 0u);
    EXPECT_EQ(policy.fnGetHeldBytes(), 4001792u); // entire pages
    {
        const CqImage image(1000, 999, 32, nullptr, 0);
        EXPECT_EQ(policy.fnGetRamUsed(), 3996000u);
        EXPECT_EQ(policy.fnGetHeldBytes(), 0u);
    }
    policy.fnReleaseHeld();
    EXPECT_EQ(policy.fnGetHeldBytes(), 0u);
}

TEST_F(PosixHeldImages, AtMostAQuarterOfTheRamLimitIsHeldBackUnlessAHostSetsALimit) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    const auto held = [&](unsigned int side) {
        policy.fnReleaseHeld();
        { const CqImage image(side, side, 32, nullptr, 0); }
        return policy.fnGetHeldBytes();
    };
    policy.fnSetRamLimit(16 * kMega);
    EXPECT_EQ(policy.fnGetHeldLimit(), 4 * kMega);
    EXPECT_EQ(held(1024), 4 * kMega);
    EXPECT_EQ(held(1025), 0u);
    policy.fnSetHeldLimit(8 * kMega);
    EXPECT_EQ(policy.fnGetHeldLimit(), 8 * kMega);
    EXPECT_EQ(held(1025), 1025u * 1025 * 4 / kPage * kPage + kPage);
    policy.fnSetHeldLimit(4 * kMega);
    EXPECT_EQ(policy.fnGetHeldBytes(), 0u) << "at once";
    policy.fnSetRamLimit(std::uint64_t{64} << 30);
    EXPECT_EQ(policy.fnGetHeldLimit(), 4 * kMega) << "the host's";
    policy.fnSetHeldLimit(0);
    EXPECT_EQ(held(1000), 0u);
}

TEST_F(PosixHeldImages, TheDefaultFollowsTheRamLimitOf64Bits) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnSetRamLimit(std::uint64_t{64} << 30);
    EXPECT_EQ(policy.fnGetHeldLimit(), std::uint64_t{16} << 30);
    policy.fnSetRamLimit(kNoMemoryLimit);
    EXPECT_EQ(policy.fnGetHeldLimit(), kNoMemoryLimit / 4);
}

TEST_F(PosixHeldImages, BuffersAndWhatIsHeldBackTogetherStayWithinTheRamLimit) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnSetRamLimit(20 * kMega);
    policy.fnSetHeldLimit(20 * kMega);
    { const CqImage image(2000, 2000, 32, nullptr, 0); }
    EXPECT_EQ(policy.fnGetHeldBytes(), 16003072u);
    {
        const CqImage other(1000, 1000, 32, nullptr, 0);
        EXPECT_EQ(policy.fnGetHeldBytes(), 16003072u);
        const CqImage third(500, 1000, 32, nullptr, 0);
        EXPECT_FALSE(third.TileMap->fnGetBlock().fnIsOnDisk());
        EXPECT_EQ(policy.fnGetHeldBytes(), 0u) << "the third image needs the memory";
        { const CqImage fourth(1000, 1000, 24, nullptr, 0); }
        EXPECT_EQ(policy.fnGetHeldBytes(), 3002368u);
        policy.fnSetRamLimit(8 * kMega);
        EXPECT_EQ(policy.fnGetHeldBytes(), 0u) << "no space is left for it";
    }
    policy.fnSetRamLimit(0);
    EXPECT_EQ(policy.fnGetHeldBytes(), 0u);
}

TEST_F(PosixHeldImages, StoppingTheLibraryReleasesEverything) {
    CqPosixOptions options;
    options.m_szTempDirectory = m_Folder.fnPath();
    options.m_szConfigDirectory = m_Folder.fnPath("config");
    const CqPlatform platform = q32PosixPlatform(options);
    q32Detach();
    ASSERT_TRUE(q32Attach(platform));
    q32GetVMPolicy()->fnSetRamLimit(std::uint64_t{1} << 30);
    { const CqImage image(1000, 1000, 32, nullptr, 0); }
    EXPECT_GT(platform.m_pMemory->fnGetHeldBytes(), 0u);
    q32Detach();
    EXPECT_EQ(platform.m_pMemory->fnGetHeldBytes(), 0u);
    fnAttach();
}

TEST_F(PosixHeldImages, FromTheSecondTimeOnAnOperationMeetsNoPageFault) {
    q32Detach();
    EXPECT_EQ(
        fnInChild([this]() -> std::string {
            ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0); // each small page counts
            fnAttach();
            CqImage source(2000, 1500, 24, nullptr, 0);
            CqMask own(2000, 1500);
            CqMask other(1999, 1500);
            std::memset(own.TileMap->PixelBuffer, 1, own.TileMap->BufferSize);
            const std::pair<const char*, std::function<void(CqImage&)>> works[] = {
                {"convert", [](CqImage& image) { image.fnConvert(32, false, nullptr); }},
                {"enlarge", [](CqImage& image) { image.fnResample(2900, 2100, true, nullptr); }},
                {"reduce", [](CqImage& image) { image.fnResample(1301, 1003, true, nullptr); }},
                {"nearest, reduce",
                 [](CqImage& image) { image.fnResample(1301, 1003, false, nullptr); }},
                {"nearest, enlarge",
                 [](CqImage& image) { image.fnResample(2900, 2100, false, nullptr); }},
                {"rotate",
                 [](CqImage& image) {
                     image.fnRotate(90.0, CqColor(1, 2, 3, 4), nullptr, false, nullptr);
                 }},
                {"sum of masks", [&](CqImage&) { own.fnMerge(other, true); }},
            };
            // Three rounds would meet more than 12,000. The address sanitizer doesn't hand out
            // again what tables take from the heap.
            constexpr long kMaxFaults = kAddressSanitizer ? 2000 : 1000;
            for (const auto& [name, work] : works) {
                rusage before{};
                rusage after{};
                for (int i = 0; i < 4; ++i) {
                    if (i == 1)
                        ::getrusage(RUSAGE_SELF, &before);
                    CqImage image(source);
                    work(image);
                }
                ::getrusage(RUSAGE_SELF, &after);
                if (after.ru_minflt - before.ru_minflt > kMaxFaults)
                    return std::string(name) + ": " +
                           std::to_string(after.ru_minflt - before.ru_minflt);
            }
            return "";
        }),
        "");
    fnAttach();
}
