// Several threads work at once, each with images of its own.
#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

using namespace q32::test;

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 6;

class PosixThreads : public testing::Test {
protected:
    void SetUp() override {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        ASSERT_TRUE(q32Attach(q32PosixPlatform(options)));
    }
    void TearDown() override {
        EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 0u);
        EXPECT_EQ(q32GetVMPolicy()->fnGetRamBytes(), 0u);
        EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 0u);
        q32Detach();
        EXPECT_EQ(m_Folder.fnCount(), 0u);
    }

    static void fnInThreads(const std::function<void(int)>& work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back(work, i);
        for (std::thread& thread : threads)
            thread.join();
    }

    Folder m_Folder;
};

/// All kinds of operations on an image of its own, whose size depends on `seed`. The final pixels.
std::vector<unsigned char> fnEdit(int seed) {
    const auto side = static_cast<unsigned int>(90 + 40 * seed);
    CqImage image(side, side + 7, 24, nullptr, 0);
    image.fnFill(CqColor(static_cast<unsigned char>(20 * seed), 90, 200, 255), nullptr, false);
    const CRect part(5, 5, static_cast<LONG>(side) / 2, static_cast<LONG>(side) / 2);
    image.fnFill(CqColor(250, static_cast<unsigned char>(30 * seed), 10, 255), &part, false);
    CqCubicBezier2D curve(CqPoint2D(0, 0), CqPoint2D(90, 10), CqPoint2D(10, 90), CqPoint2D(80, 80),
                          1.0);
    curve.fnRasterize(image, CqColor(1, 2, 3, 255));
    image.fnBrightContrast(10, 20, false, nullptr);
    image.fnResample(side + 30, side - 20, true, nullptr);
    image.fnRotate(30.0, CqColor(9, 8, 7, 255), nullptr, true, nullptr);
    image.fnConvert(32, false, nullptr);
    image.fnRotate(90.0, CqColor(9, 8, 7, 255), nullptr, false, nullptr);

    const CqPixelReader reader(image, PIXEL_STORED);
    std::vector<unsigned char> pixels(std::size_t{image.Width} * image.Height * 4);
    for (unsigned int y = 0; y < image.Height; ++y)
        EXPECT_TRUE(reader.fnReadRow(0, y, image.Width, &pixels[std::size_t{y} * image.Width * 4]));
    return pixels;
}

TEST_F(PosixThreads, ImagesInSeveralThreadsGetThePixelsThatOneThreadMakes) {
    std::vector<std::vector<unsigned char>> expected;
    for (int i = 0; i < kThreads; ++i)
        expected.push_back(fnEdit(i));
    fnInThreads([&](int thread) {
        for (int i = 0; i < kRounds; ++i)
            EXPECT_EQ(fnEdit(thread), expected[static_cast<std::size_t>(thread)]);
    });
}

TEST_F(PosixThreads, ImagesInSeveralThreadsShareTheScratchDisk) {
    std::vector<std::vector<unsigned char>> expected;
    for (int i = 0; i < kThreads; ++i)
        expected.push_back(fnEdit(i));
    q32GetVMPolicy()->fnSetRamLimit(0);
    fnInThreads([&](int thread) {
        for (int i = 0; i < kRounds; ++i)
            EXPECT_EQ(fnEdit(thread), expected[static_cast<std::size_t>(thread)]);
    });
}

TEST_F(PosixThreads, ThreadsNeverPassTheRamLimitTogether) {
    constexpr std::uint32_t kImageBytes = 64 * 1024;
    constexpr std::uint32_t kImagesThatFit = 3;
    q32GetVMPolicy()->fnSetRamLimit(kImagesThatFit * kImageBytes);
    std::atomic<std::uint64_t> most = 0;
    fnInThreads([&](int) {
        for (int i = 0; i < 100; ++i) {
            const CqImage first(256, 256, 8, q32GreyRamp, 256);
            const CqImage second(256, 256, 8, q32GreyRamp, 256);
            std::uint64_t known = most;
            const std::uint64_t used = q32GetVMPolicy()->fnGetRamBytes();
            while (used > known && !most.compare_exchange_weak(known, used)) {
            }
        }
    });
    EXPECT_LE(most, kImagesThatFit * kImageBytes);
    EXPECT_GT(most, 0u);
}

} // namespace
