// Picture and sound files are read and written in several threads at once.
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace q32::test;

namespace {

constexpr int kThreads = 2;
constexpr int kRounds = 3;

std::vector<unsigned char> fnPixels(const CqImage& image) {
    std::vector<unsigned char> pixels(std::size_t{image.Width} * image.Height * 4);
    const CRect all(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
    EXPECT_TRUE(
        q32ReadPixels(image, all, PIXEL_BGRA32, pixels.data(), std::size_t{4} * image.Width));
    return pixels;
}

/// Writes and reads a picture of each format, and a sound. JPEG changes the colours, always alike.
void fnExchangeFiles(const Folder& folder, int thread) {
    const std::string name = folder.fnName(std::to_string(thread));
    CqImage image(90, 70, 24, nullptr, 0);
    image.fnFill(CqColor(static_cast<unsigned char>(100 * thread), 90, 200, 255), nullptr, false);
    image.fnDrawLine(0, 0, 89, 69, CqColor(1, 2, 3, 255), false);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        std::vector<unsigned char> first;
        for (int round = 0; round < kRounds; ++round) {
            CqImage read;
            EXPECT_TRUE(q32WritePicture(name.c_str(), image, format).fnIsDone());
            EXPECT_TRUE(q32ReadPicture(name.c_str(), read).fnIsDone());
            if (first.empty())
                first = format == PICTURE_JPEG ? fnPixels(read) : fnPixels(image);
            EXPECT_EQ(fnPixels(read), first);
        }
    }
    CqWave wave(1, 8, 8000, 1000, true);
    CqWave read;
    EXPECT_TRUE(q32WriteWave(name.c_str(), wave).fnIsDone());
    EXPECT_TRUE(q32ReadWave(name.c_str(), read).fnIsDone());
    EXPECT_EQ(read.fnGetFrameCount(), 1000u);
    EXPECT_FALSE(q32ReadPicture(name.c_str(), image).fnIsDone()) << "failures, too";
}

TEST(PosixFileThreads, FilesInSeveralThreadsHoldWhatOneThreadWrites) {
    const Folder folder;
    CqPosixOptions options;
    options.m_szTempDirectory = folder.fnPath();
    options.m_szConfigDirectory = folder.fnPath("config");
    ASSERT_TRUE(q32Attach(q32PosixPlatform(options)));
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&folder, i] { fnExchangeFiles(folder, i); });
    for (std::thread& thread : threads)
        thread.join();
    q32Detach();
    EXPECT_EQ(folder.fnCount(), static_cast<std::size_t>(kThreads));
}

} // namespace
