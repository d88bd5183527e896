#include "plugins/CodecInput_p.h"
#include "plugins/JpegScans_p.h"
#include "tests/plugins/CodecFiles.h"
#include "tests/plugins/JpegAllocations.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr std::size_t kDecoderBytes = 1 << 18; // of a decoder without coefficients

class JpegScans : public PictureTest {
protected:
    unsigned int fnCount(const Bytes& file,
                         unsigned int most = std::numeric_limits<unsigned int>::max()) {
        fnPut(file);
        q32::CodecInput input(kPath);
        return q32::fnCountJpegScans(input, most);
    }

    static TestJpeg fnGrey(std::uint32_t side, int scans) {
        TestJpeg jpeg;
        jpeg.m_nComponents = 1;
        jpeg.m_nWidth = jpeg.m_nHeight = side;
        jpeg.m_bProgressive = true;
        jpeg.m_nScans = scans;
        jpeg.m_Samples.assign(std::size_t{side} * side, 128);
        return jpeg;
    }
};

TEST_F(JpegScans, AreCountedByTheirMarks) {
    const std::pair<Bytes, unsigned int> files[] = {
        {{}, 0},
        {{1, 2, 3}, 0},
        {{0xFF}, 0},
        {{1, 0xFF, 0xDA}, 1},                                        // cut
        {{0xFF, 0xDA, 0, 2, 7, 0xFF, 0xDA, 0, 2}, 2},                // two
        {{0xFF, 0xFF, 0xFF, 0xDA, 0, 2}, 1},                         // a mark with fill bytes
        {{0xFF, 0x00, 0xDA, 0xFF, 0x00, 0xFF, 0xDA, 0, 2}, 1},       // data
        {{0xFF, 0xD0, 0xFF, 0xD7, 0xFF, 0x01, 0xFF, 0xDA, 0, 2}, 1}, // marks without a length
        {{0xFF, 0xD8, 0xFF, 0xDA, 0, 2}, 1},
        {{0xFF, 0xFE, 0, 6, 0xFF, 0xDA, 0xFF, 0xDA, 0xFF, 0xDA, 0, 2}, 1}, // two in a comment
        {{0xFF, 0xDA, 0, 5, 0xFF, 0xDA, 1, 0xFF, 0xDA, 0, 2}, 2},          // one in a scan's header
        {{0xFF, 0xFE, 0, 0, 0xFF, 0xDA, 0, 2}, 1},                         // a length of 0
        {{0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xDA, 0, 2}, 0},                   // one beyond the end
        {{0xFF, 0xDA, 0, 2, 0xFF, 0xD9, 0xFF, 0xDA, 0, 2}, 1},             // behind the end
    };
    for (std::size_t i = 0; i < std::size(files); ++i)
        EXPECT_EQ(fnCount(files[i].first), files[i].second) << "file " << i;
}

TEST_F(JpegScans, AreCountedAcrossBlocksOfTheFile) {
    Bytes file;
    for (unsigned int i = 0; i < 40; ++i) {
        file.insert(file.end(), {0xFF, 0xDA, 0, 4, 0xFF, 0xDA});
        file.insert(file.end(), 8191 + i % 7, 0x55); // marks lie on both sides of 65536
    }
    EXPECT_EQ(fnCount(file), 40u);
    EXPECT_EQ(fnCount(file, 12), 13u) << "enough to know";
}

TEST_F(JpegScans, TooManyAreRefusedBeforeCoefficientsTakeMemory) {
    fnPut(fnGrey(2000, 60).fnMake());
    std::size_t before = fnCountJpegBytes();
    EXPECT_EQ(fnRead().m_eLimit, PICTURE_LIMIT_SCANS);
    EXPECT_LT(fnCountJpegBytes() - before, kDecoderBytes);
    fnPut(fnGrey(2000, 32).fnMake());
    before = fnCountJpegBytes();
    EXPECT_TRUE(fnRead().fnIsDone());
    EXPECT_GT(fnCountJpegBytes() - before, 2000u * 2000 * 2);
}

TEST_F(JpegScans, TakeAsMuchMemoryAsTheLimitOfTheDecoderAllows) {
    fnPut(fnGrey(1000, 6).fnMake());
    for (CqPictureLimits limits; limits.m_nCodecBytes > 1000; limits.m_nCodecBytes /= 2) {
        const std::size_t before = fnCountJpegBytes();
        const bool done = q32ReadPicture(kPath, m_Image, limits).fnIsDone();
        const std::size_t taken = fnCountJpegBytes() - before;
        EXPECT_LE(taken, std::max<std::uint64_t>(limits.m_nCodecBytes, kDecoderBytes));
        EXPECT_EQ(done, limits.m_nCodecBytes >= (1 << 21)) << limits.m_nCodecBytes;
    }
}

TEST_F(JpegScans, AnAbortWhileTheyAreCountedTakesNoCoefficients) {
    TestJpeg jpeg = fnGrey(800, 0);
    for (std::size_t i = 0; i < jpeg.m_Samples.size(); ++i)
        jpeg.m_Samples[i] = static_cast<std::uint8_t>(i * i >> 3);
    const Bytes file = jpeg.fnMake();
    ASSERT_GT(file.size(), 4 * 65536u);
    fnPut(file);
    for (const std::size_t nth : {1u, 2u, 3u, 4u}) { // each is about another block of the file
        RecordedProgress progress;
        progress.m_nAbortAt = nth;
        const std::size_t before = fnCountJpegBytes();
        EXPECT_TRUE(fnRead(&progress).m_bAborted);
        EXPECT_LT(fnCountJpegBytes() - before, kDecoderBytes);
    }
}

TEST_F(JpegScans, OfAPictureAreReadAfterTheyWereCounted) {
    TestJpeg jpeg = fnGrey(700, 0);
    for (std::size_t i = 0; i < jpeg.m_Samples.size(); ++i)
        jpeg.m_Samples[i] = static_cast<std::uint8_t>(i % 700 * 255 / 700);
    Bytes file = jpeg.fnMake();
    // A comment at the end, full of what would be scans elsewhere.
    Bytes comment = {0xFF, 0xFE, 0x20, 0x02};
    for (int i = 0; i < 0x1000; ++i)
        comment.insert(comment.end(), {0xFF, 0xDA});
    file.insert(file.end() - 2, comment.begin(), comment.end());
    fnPut(file);
    ASSERT_TRUE(fnRead().fnIsDone());
    const Bytes pixels = fnPixelsOf(m_Image);
    ASSERT_EQ(pixels.size(), jpeg.m_Samples.size());
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), jpeg.m_Samples.begin(),
                           [](int a, int b) { return std::abs(a - b) <= 6; }));
}

} // namespace
