#include "tests/sound/SoundTestTools.h"

using namespace q32::test;

namespace {

constexpr WAVEFORMATEX kStereo = {1, 2, 22050, 88200, 4, 16, 0};

class WaveLoadTest : public WaveTest {
protected:
    /// Loading fails with the resource exception and leaves the old sound.
    void fnExpectRefused(const std::string& image) {
        fnAddResource(1, image);
        CqWave wave(1, 8, 8000, 3, true);
        fnFill(wave, fnRamp(3));
        EXPECT_TRUE(fnRaisesResourceException([&] { wave.fnLoad(1); })) << image.size();
        EXPECT_EQ(fnBytes(wave), fnRamp(3));
        EXPECT_EQ(wave.fnGetFormat().nSamplesPerSec, 8000u);
    }
};

TEST_F(WaveLoadTest, ReadsFormatSizeAndSamplesFromTheirOffsets) {
    fnAddResource(1, fnMakeResource(kStereo, 12, fnRamp(20)));
    const CqWave wave(1u);
    EXPECT_EQ(fnBytes(wave), fnRamp(12)) << "what follows is left";
    EXPECT_EQ(wave.fnGetFrameCount(), 3u);
    const WAVEFORMATEX format = wave.fnGetFormat();
    EXPECT_EQ(std::memcmp(&format, &kStereo, sizeof format), 0);
}

TEST_F(WaveLoadTest, ReplacesTheOldSound) {
    fnAddResource(1, fnMakeResource(kStereo, 12, fnRamp(12)));
    CqWave wave(1, 8, 8000, 100, true);
    wave.fnLoad(1);
    EXPECT_EQ(fnBytes(wave), fnRamp(12));
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 12u);
}

TEST_F(WaveLoadTest, ChecksNothingButTheKind) {
    WAVEFORMATEX odd = {0x55, 9, 1, 2, 5, 3, 0};
    fnAddResource(1, fnMakeResource(odd, 7, fnRamp(7)));
    const CqWave wave(1u);
    EXPECT_EQ(fnBytes(wave), fnRamp(7));
    EXPECT_EQ(wave.fnGetFrameCount(), 1u);
    EXPECT_EQ(wave.fnGetFormat().wFormatTag, 0x55);
}

TEST_F(WaveLoadTest, TheSizeInFormatIsAlwaysZero) {
    std::string image = fnMakeResource(kStereo, 4, fnRamp(4));
    image[36] = image[37] = '\x7F'; // the size field of an extensible format
    fnAddResource(1, image);
    EXPECT_EQ(CqWave(1u).fnGetFormat().cbSize, 0);
}

TEST_F(WaveLoadTest, ALongerFormatChunkIsMisread) {
    // An 18-byte format shifts the rest by two: offset 40 is inside "data", 44 inside the size.
    std::string image = fnMakeResource(kStereo, 0, {});
    image.resize(36);
    image += std::string("\0\0data\x08\0\0\0", 10);
    const Bytes samples = fnRamp(8);
    image.append(samples.begin(), samples.end());
    fnExpectRefused(image); // "ta" and the low half of the size give a size beyond the resource
    image[38] = image[39] = image[42] = image[43] = 0;
    image[40] = 6;
    image[41] = 0;
    fnAddResource(2, image);
    const Bytes expected = {0, 0, 1, 8, 15, 22};
    EXPECT_EQ(fnBytes(CqWave(2u)), expected);
}

TEST_F(WaveLoadTest, TakesTheLow16BitsOfTheId) {
    fnAddResource(0x1234, fnMakeResource(kStereo, 4, fnRamp(4)));
    EXPECT_EQ(fnBytes(CqWave(0xABCD1234u)), fnRamp(4));
}

TEST_F(WaveLoadTest, FindsTheResourceInAnyModuleOfTheHost) {
    const HINSTANCE module = m_World->m_pResources->fnAddModule();
    const std::string image = fnMakeResource(kStereo, 4, fnRamp(4));
    ASSERT_TRUE(m_World->m_pResources->fnAdd(module, "WAVE", WORD{3}, image));
    EXPECT_EQ(fnBytes(CqWave(3u)), fnRamp(4));
}

TEST_F(WaveLoadTest, AMissingResourceRaisesTheResourceException) {
    CqHeadlessResources& resources = *m_World->m_pResources;
    ASSERT_TRUE(resources.fnAdd(resources.fnGetHostModule(), "SOUND", WORD{1},
                                fnMakeResource(kStereo, 4, fnRamp(4))));
    CqWave wave(1, 8, 8000, 3, true);
    EXPECT_TRUE(fnRaisesResourceException([&] { wave.fnLoad(1); })) << "another type";
    EXPECT_TRUE(fnRaisesResourceException([&] { wave.fnLoad(2); }));
    EXPECT_TRUE(fnRaisesResourceException([] { const CqWave loaded(2u); }));
    fnAddResource(2, fnMakeResource(kStereo, 4, fnRamp(4)));
    resources.m_Find.fnFail();
    EXPECT_TRUE(fnRaisesResourceException([&] { wave.fnLoad(2); }));
    EXPECT_EQ(fnBytes(wave), Bytes(3, 0x80));
}

TEST_F(WaveLoadTest, AnotherKindOfResourceIsRefused) {
    for (std::size_t i = 8; i < 12; ++i) {
        std::string image = fnMakeResource(kStereo, 4, fnRamp(4));
        image[i] = 'w';
        fnExpectRefused(image);
    }
}

TEST_F(WaveLoadTest, AResourceTruncatedAnywhereIsRefused) {
    const std::string whole = fnMakeResource(kStereo, 12, fnRamp(12));
    for (std::size_t length = 0; length < whole.size(); ++length)
        fnExpectRefused(whole.substr(0, length));
}

TEST_F(WaveLoadTest, AWrongSizeIsRefused) {
    for (const std::uint32_t size : {13u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFD4u, 0xFFFFFFFFu})
        fnExpectRefused(fnMakeResource(kStereo, size, fnRamp(12)));
}

TEST_F(WaveLoadTest, AFrameOfZeroBytesIsRefused) {
    WAVEFORMATEX format = kStereo;
    format.nBlockAlign = 0;
    fnExpectRefused(fnMakeResource(format, 12, fnRamp(12)));
}

TEST_F(WaveLoadTest, AResourceWithoutSamplesRaisesTheMemoryException) {
    fnAddResource(1, fnMakeResource(kStereo, 0, {}));
    CqWave wave(1, 8, 8000, 3, true);
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave.fnLoad(1); }));
    EXPECT_EQ(fnBytes(wave), Bytes(3, 0x80));
}

} // namespace
