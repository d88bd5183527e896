// Pictures whose intermediate image would be larger than the caches: both passes of the filter are
// done band by band where the processor has AVX-512.

#include "tests/operations/StepDisplay.h"
#include "tests/resampling/PlainResample.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <string>

namespace {

using namespace q32::test;

struct Division {
    std::uint32_t m_nConcurrency;
    CQ_WORK_ORDER m_eOrder;
};

constexpr Division kDivisions[] = {{1, CQ_WORK_ORDER::FORWARD},
                                   {2, CQ_WORK_ORDER::FORWARD},
                                   {3, CQ_WORK_ORDER::REVERSED},
                                   {3, CQ_WORK_ORDER::SCRAMBLED},
                                   {16, CQ_WORK_ORDER::SCRAMBLED}};

class ResampleBandsTest : public AttachedTest {
protected:
    Random m_Random{21};

    void fnDivide(const Division& division) {
        m_World->m_pWork->fnSetConcurrency(division.m_nConcurrency);
        m_World->m_pWork->fnSetOrder(division.m_eOrder);
    }

    /// Noise and areas of one value.
    void fnPaint(CqImage& image) {
        for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i)
            image.TileMap->PixelBuffer[i] =
                i / 3000 % 2 ? 255 : static_cast<unsigned char>(m_Random() >> 24);
    }

    /// Lets each allocation fail in turn while a picture is resampled.
    void fnExpectFailuresKeepThePicture() {
        CqImage image(1400, 130, 24, nullptr, 0);
        fnPaint(image);
        const Rows before = fnRows(image);
        const CqTileMap* map = image.TileMap;
        const std::size_t blocks = CqAllocationFailure::fnOutstanding();
        const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
            const bool raised =
                fnRaisesMemoryException([&] { image.fnResample(1450, 260, true, nullptr); });
            failure.fnEnd();
            if (!failure.fnHappened())
                return;
            if (raised) {
                EXPECT_EQ(image.TileMap, map);
                EXPECT_EQ(CqAllocationFailure::fnOutstanding(), blocks);
                EXPECT_TRUE(fnSameRows(fnRows(image), before));
            } else { // a failure in RAM falls back to disk
                image.fnAlloc(1400, 130, 24, nullptr, 0);
                for (std::uint32_t y = 0; y < 130; ++y)
                    image.TileMap->fnStoreRow(y, before[y].data());
                map = image.TileMap;
            }
        });
        EXPECT_GE(failures, 8u);
    }
};

TEST_F(ResampleBandsTest, LargePicturesFollowTheRuleAtEveryDepth) {
    struct Case {
        unsigned int bits, width, height, newWidth, newHeight;
    };
    for (const Case& way : {Case{8, 4100, 300, 1367, 260}, Case{16, 900, 301, 640, 301 * 2},
                            Case{24, 1400, 130, 1450, 260}, Case{24, 3333, 200, 1111, 110},
                            Case{32, 1701, 190, 450, 160}, Case{32, 300, 450, 1200, 900}}) {
        CqImage image(way.width, way.height, way.bits, q32GreyRamp, 256);
        fnPaint(image);
        const Rows expected =
            fnPlainFilter(fnRows(image), way.bits, way.newWidth, way.newHeight,
                          double(way.newWidth) / way.width, double(way.newHeight) / way.height);
        for (const Division& division : kDivisions) {
            fnDivide(division);
            CqImage result(image);
            const std::uint64_t before = m_World->m_pWork->fnGetPieces();
            result.fnResample(way.newWidth, way.newHeight, true, nullptr);
            ASSERT_EQ(result.Width, way.newWidth);
            EXPECT_TRUE(fnSameRows(fnRows(result), expected))
                << way.bits << " bits to " << way.newWidth << " x " << way.newHeight << " by "
                << division.m_nConcurrency;
            EXPECT_EQ(m_World->m_pWork->fnGetPieces() > before, division.m_nConcurrency > 1);
        }
    }
}

TEST_F(ResampleBandsTest, LargePicturesReportBothPasses) {
    std::vector<unsigned int> expected = fnRun(1400, 0, 50);
    const std::vector<unsigned int> rest = fnRun(260, 50, 50);
    expected.insert(expected.end(), rest.begin(), rest.end());
    for (const Division& division : kDivisions) {
        fnDivide(division);
        CqImage image(1400, 130, 24, nullptr, 0);
        StepDisplay display;
        image.fnResample(1450, 260, true, &display);
        EXPECT_EQ(display.m_Percents, expected) << division.m_nConcurrency;
    }
}

TEST_F(ResampleBandsTest, AnAbortKeepsALargePicture) {
    CqImage image(1400, 130, 24, nullptr, 0);
    fnPaint(image);
    const Rows before = fnRows(image);
    const CqTileMap* map = image.TileMap;
    for (const Division& division : kDivisions)
        for (const std::size_t call : {0U, 1U, 700U, 1399U, 1400U, 1659U}) {
            fnDivide(division);
            const std::size_t blocks = CqAllocationFailure::fnOutstanding();
            StepDisplay display(call);
            display.m_Percents.reserve(2000);
            image.fnResample(1450, 260, true, &display);
            EXPECT_TRUE(display.fnWasAborted());
            EXPECT_EQ(display.m_Percents.size(), call + 1);
            EXPECT_EQ(image.TileMap, map);
            EXPECT_EQ(CqAllocationFailure::fnOutstanding(), blocks + 1); // the display's
        }
    EXPECT_TRUE(fnSameRows(fnRows(image), before));
}

TEST_F(ResampleBandsTest, EveryFailedAllocationKeepsALargePicture) {
    for (const Division& division : kDivisions) {
        fnDivide(division);
        fnExpectFailuresKeepThePicture();
    }
}

} // namespace
