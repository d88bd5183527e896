#include "q32Base/memory/CqTileMap_p.h"
#include "tests/operations/PlainImage.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace q32::test;

using Span = std::pair<const std::uint8_t*, const std::uint8_t*>;
using Job = std::function<void(CqImage&, CqProgressDisplay*)>;

/// Bytes of all spans; 0 when two of them overlap.
std::size_t fnCovered(std::vector<Span> spans) {
    std::sort(spans.begin(), spans.end());
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        if (i != 0 && spans[i].first < spans[i - 1].second)
            return 0;
        bytes += static_cast<std::size_t>(spans[i].second - spans[i].first);
    }
    return bytes;
}

/// A source whose pixels exist only from their announcement until their release. Written pixels,
/// too, are gone from their release until they are announced for reading.
struct Mirage {
    explicit Mirage(CqImage& image)
        : m_pBegin(image.TileMap->PixelBuffer), m_Pixels(m_pBegin, m_pBegin + fnSize(image)) {
        std::memset(m_pBegin, 0x55, m_Pixels.size());
    }
    static std::size_t fnSize(const CqImage& image) { return image.TileMap->BufferSize; }

    void fnHear(CQ_VIEW_ADVICE advice, std::uint8_t* at, std::uint32_t size) {
        const Span span(at, at + size);
        if (at < m_pBegin || at >= m_pBegin + m_Pixels.size()) {
            if (advice == VIEW_WRITE_NEXT)
                m_bFresh &= std::all_of(at, at + size, [](std::uint8_t b) { return b == 0; });
            m_Others[advice].push_back(span);
            if (advice == VIEW_READ_NEXT)
                fnRestore(at, size);
            if (advice == VIEW_DONE) {
                m_Finished.emplace_back(at, Bytes(at, at + size));
                std::memset(at, 0xAA, size);
            }
            return;
        }
        m_Own[advice].push_back(span);
        if (advice == VIEW_READ_NEXT)
            std::copy_n(m_Pixels.begin() + (at - m_pBegin), size, at);
        else
            std::memset(at, 0xAA, size);
    }

    /// Restores those bytes to their content at their release.
    void fnRestore(std::uint8_t* begin, std::size_t size) const {
        for (const auto& [at, bytes] : m_Finished) {
            std::uint8_t* from = std::max(at, begin);
            std::uint8_t* to = std::min(at + bytes.size(), begin + size);
            if (from < to)
                std::copy(bytes.begin() + (from - at), bytes.begin() + (to - at), from);
        }
    }

    std::uint8_t* m_pBegin;
    Bytes m_Pixels;
    std::vector<std::pair<std::uint8_t*, Bytes>> m_Finished;
    std::vector<Span> m_Own[3];
    std::vector<Span> m_Others[3];
    bool m_bFresh = true; ///< nothing was written before its announcement
};

class PageWalkTest : public AttachedTest {
protected:
    static constexpr std::uint32_t kNoLimit = 0xFFFFFFFFu;

    Random m_Random{7};

    /// @param between  bytes of the intermediate between two passes
    void fnCheck(unsigned int width, unsigned int height, unsigned int bits, std::size_t between,
                 const Job& job) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + " at " +
                     std::to_string(bits) + " bits");
        CqHeadlessScratch& scratch = *m_World->m_pScratch;
        q32GetVMPolicy()->fnSetRamLimit(kNoLimit);
        CqImage expected(width, height, bits, q32GreyRamp, 256);
        fnSetRandom(expected, m_Random);
        q32GetVMPolicy()->fnSetRamLimit(0);
        CqImage image(expected);
        q32GetVMPolicy()->fnSetRamLimit(kNoLimit);
        job(expected, nullptr);
        EXPECT_EQ(scratch.m_Advise.fnGetCount(), m_nHeard);

        q32GetVMPolicy()->fnSetRamLimit(0);
        const std::size_t size = Mirage::fnSize(image);
        Mirage mirage(image);
        scratch.m_OnAdvice = [&](CQ_VIEW_ADVICE advice, std::uint8_t* at, std::uint32_t bytes) {
            mirage.fnHear(advice, at, bytes);
        };
        job(image, nullptr);
        scratch.m_OnAdvice = nullptr;
        m_nHeard = scratch.m_Advise.fnGetCount();
        mirage.fnRestore(image.TileMap->PixelBuffer, Mirage::fnSize(image));

        EXPECT_TRUE(fnSameRows(fnRows(image), fnRows(expected)));
        EXPECT_TRUE(mirage.m_bFresh);
        EXPECT_EQ(fnCovered(mirage.m_Own[VIEW_READ_NEXT]), size);
        EXPECT_EQ(fnCovered(mirage.m_Own[VIEW_DONE]), size);
        EXPECT_TRUE(mirage.m_Own[VIEW_WRITE_NEXT].empty());
        const std::size_t result = Mirage::fnSize(image);
        EXPECT_EQ(fnCovered(mirage.m_Others[VIEW_WRITE_NEXT]), between + result);
        EXPECT_EQ(fnCovered(mirage.m_Others[VIEW_READ_NEXT]), between);
        std::size_t done = 0;
        for (const auto& [begin, end] : mirage.m_Others[VIEW_DONE])
            done += static_cast<std::size_t>(end - begin);
        EXPECT_EQ(done, 2 * between + result);
    }

    std::uint64_t m_nHeard = 0;
};

Job fnRotate(double angle) {
    return [angle](CqImage& image, CqProgressDisplay* progress) {
        image.fnRotate(angle, CqColor(), nullptr, false, progress);
    };
}

Job fnFilter(unsigned int width, unsigned int height) {
    return [width, height](CqImage& image, CqProgressDisplay* progress) {
        image.fnResample(width, height, true, progress);
    };
}

// The sizes leave several megabytes beyond what is announced at once.

TEST_F(PageWalkTest, ARotationReadsEachTileOnceBetweenItsAnnouncementAndItsEnd) {
    for (const double angle : {90.0, -90.0}) {
        fnCheck(1500, 1337, 24, 0, fnRotate(angle));
        fnCheck(1024, 1280, 32, 0, fnRotate(angle));
        fnCheck(1537, 40, 8, 0, fnRotate(angle));
        fnCheck(3, 4100, 16, 0, fnRotate(angle));
    }
}

TEST_F(PageWalkTest, BothPassesOfTheFilterReadEachTileOnceBetweenItsAnnouncementAndItsEnd) {
    fnCheck(1500, 1337, 24, std::size_t{1500} * 446 * 3, fnFilter(500, 446)); // columns first
    fnCheck(1200, 1300, 32, std::size_t{300} * 1300 * 4, fnFilter(300, 400)); // rows first
    fnCheck(2500, 2000, 8, std::size_t{2500} * 100, fnFilter(125, 100));
    fnCheck(300, 260, 16, std::size_t{300} * 700 * 2, fnFilter(1000, 700));
    fnCheck(257, 129, 24, std::size_t{800} * 129 * 3, fnFilter(800, 1300));
}

TEST_F(PageWalkTest, OnePassOfTheFilterReadsEachTileOnceBetweenItsAnnouncementAndItsEnd) {
    fnCheck(1300, 1337, 32, 0, fnFilter(1300, 500));
    fnCheck(1300, 129, 24, 0, fnFilter(1300, 1000));
    fnCheck(1300, 1337, 32, 0, fnFilter(500, 1337));
    fnCheck(129, 1300, 24, 0, fnFilter(1000, 1300));
}

TEST_F(PageWalkTest, ASourceOfManyBytesPerTargetRowIsProcessedInLowerBands) {
    fnCheck(6100, 6000, 8, std::size_t{6100} * 50, fnFilter(61, 50)); // more than 32 MiB
}

TEST_F(PageWalkTest, BandsThatShareTilesReleaseThemAfterTheLastBand) {
    fnCheck(6000, 129, 24, 0, fnFilter(6000, 300));   // three bands of one row of source tiles
    fnCheck(41000, 1000, 8, 0, fnFilter(41000, 130)); // several of one row of target tiles
    fnCheck(92, 17000, 24, 0, fnRotate(90));          // a narrow last column, and long rows
    fnCheck(220, 17000, 24, 0, fnRotate(-90));
    fnCheck(220, 17000, 24, 0, fnRotate(90));
}

TEST_F(PageWalkTest, EscIsPolledBeforeABandIsProcessed) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    CqImage image(20000, 100, 24, nullptr, 0);
    std::size_t announced = 0;
    m_World->m_pScratch->m_OnAdvice = [&](CQ_VIEW_ADVICE advice, std::uint8_t*,
                                          std::uint32_t size) {
        announced += advice == VIEW_DONE ? 0 : size;
    };
    StepDisplay display(0);
    fnFilter(20000, 90)(image, &display);
    m_World->m_pScratch->m_OnAdvice = nullptr;
    EXPECT_EQ(image.Height, 100u);
    EXPECT_GT(announced, 0u);
    EXPECT_LT(announced, std::size_t{20000} * (100 + 90) * 3 * 3 / 4);
}

TEST_F(PageWalkTest, PixelsInRamGiveNoAdvice) {
    q32GetVMPolicy()->fnSetRamLimit(kNoLimit);
    CqImage image(300, 500, 24, nullptr, 0);
    fnSetRandom(image, m_Random);
    fnRotate(90)(image, nullptr);
    fnFilter(200, 200)(image, nullptr);
    fnFilter(200, 100)(image, nullptr);
    fnFilter(300, 100)(image, nullptr);
    EXPECT_EQ(m_World->m_pScratch->m_Advise.fnGetCount(), 0u);
}

TEST_F(PageWalkTest, FourBitImagesOnTheFilterRouteGiveNoAdvice) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    CqImage image(300, 200, 4, nullptr, 16);
    image.fnResample(0.5, 0.25, nullptr);
    EXPECT_EQ(image.Width, 150u);
    EXPECT_EQ(m_World->m_pScratch->m_Advise.fnGetCount(), 0u);
}

TEST_F(PageWalkTest, IgnoredAdviceChangesNoPixel) {
    for (const Job& job : {fnRotate(90), fnFilter(100, 90)}) {
        q32GetVMPolicy()->fnSetRamLimit(kNoLimit);
        CqImage expected(300, 500, 24, nullptr, 0);
        fnSetRandom(expected, m_Random);
        q32GetVMPolicy()->fnSetRamLimit(0);
        CqImage image(expected);
        m_World->m_pScratch->m_Advise.fnFail(1, CqHeadlessCalls::kForever);
        job(image, nullptr);
        EXPECT_GT(m_World->m_pScratch->m_Advise.fnGetFailed(), 0u);
        q32GetVMPolicy()->fnSetRamLimit(kNoLimit);
        job(expected, nullptr);
        EXPECT_TRUE(fnSameRows(fnRows(image), fnRows(expected)));
    }
}

TEST_F(PageWalkTest, AnAbortedWalkReleasesWhatItAnnounced) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    for (const Job& job : {fnRotate(90), fnRotate(-90), fnFilter(300, 450), fnFilter(450, 300)}) {
        for (const std::size_t step : {1u, 20u, 70u}) {
            CqImage image(1500, 1337, 24, nullptr, 0);
            std::size_t announced = 0;
            std::size_t done = 0;
            m_World->m_pScratch->m_OnAdvice = [&](CQ_VIEW_ADVICE advice, std::uint8_t*,
                                                  std::uint32_t size) {
                (advice == VIEW_DONE ? done : announced) += size;
            };
            StepDisplay display(step);
            job(image, &display);
            m_World->m_pScratch->m_OnAdvice = nullptr;
            EXPECT_EQ(image.Width, 1500u);
            EXPECT_GT(announced, 0u);
            EXPECT_EQ(announced, done);
        }
    }
}

} // namespace
