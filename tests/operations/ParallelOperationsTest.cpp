// Operations give the same bytes, reports and states, however their work is divided among threads.

#include "tests/operations/ParallelOperations.h"

#include "q32Base/memory/CqTileMap_p.h"
#include "tests/operations/StepDisplay.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <cstdint>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace q32::test {
namespace {

struct Division {
    std::uint32_t m_nConcurrency;
    CQ_WORK_ORDER m_eOrder;
};

constexpr Division kDivisions[] = {{2, CQ_WORK_ORDER::FORWARD},
                                   {3, CQ_WORK_ORDER::SCRAMBLED},
                                   {16, CQ_WORK_ORDER::REVERSED},
                                   {16, CQ_WORK_ORDER::SCRAMBLED}};

struct Depth {
    unsigned int m_nBits;
    bool m_bGrey;
};

constexpr Depth kDepths[] = {{4, false},  {8, false},  {8, true},
                             {16, false}, {24, false}, {32, false}};

class ParallelOperationsTest : public AttachedTest {
protected:
    void fnDivide(const Division& division) {
        m_World->m_pWork->fnSetConcurrency(division.m_nConcurrency);
        m_World->m_pWork->fnSetOrder(division.m_eOrder);
    }
    void fnWorkAlone() { m_World->m_pWork->fnSetConcurrency(1); }

    static std::string fnDescribe(const ParallelOperation& operation, const CqImage& image) {
        return std::string(operation.m_pName) + " at " + std::to_string(image.BitCount) +
               " bits, " + std::to_string(image.Width) + " x " + std::to_string(image.Height);
    }

    const std::vector<ParallelOperation> m_Operations = fnGetParallelOperations();
};

TEST_F(ParallelOperationsTest, NumberAndOrderOfPiecesChangeNeitherBytesNorReports) {
    for (const Depth& depth : kDepths)
        for (const auto& [width, height] :
             {std::pair{1u, 1u}, {7u, 3u}, {131u, 390u}, {300u, 129u}}) {
            ParallelCase images(width, height, depth.m_nBits, depth.m_bGrey);
            for (const ParallelOperation& operation : m_Operations) {
                SCOPED_TRACE(fnDescribe(operation, images.m_Image));
                fnWorkAlone();
                StepDisplay shown;
                const ParallelResult silent = images.fnRun(operation, nullptr);
                const ParallelResult expected = images.fnRun(operation, &shown);
                ASSERT_TRUE(silent == expected);
                for (const Division& division : kDivisions) {
                    fnDivide(division);
                    StepDisplay display;
                    ASSERT_TRUE(images.fnRun(operation, nullptr) == expected);
                    ASSERT_TRUE(images.fnRun(operation, &display) == expected);
                    ASSERT_EQ(display.m_Percents, shown.m_Percents);
                }
            }
        }
}

TEST_F(ParallelOperationsTest, EachOperationIsDividedAtSomeDepth) {
    // One thread fills as fast as the memory allows.
    const std::set<std::string> alone = {"move over itself", "fill", "fill a part"};
    fnDivide({3, CQ_WORK_ORDER::FORWARD});
    ParallelCase first(300, 390, 24, false);
    ParallelCase second(300, 390, 32, false);
    for (const ParallelOperation& operation : m_Operations) {
        const std::uint64_t before = m_World->m_pWork->fnGetPieces();
        first.fnRun(operation, nullptr);
        second.fnRun(operation, nullptr);
        const bool divided = m_World->m_pWork->fnGetPieces() > before + 1;
        EXPECT_TRUE(divided || alone.contains(operation.m_pName)) << operation.m_pName;
    }
}

TEST_F(ParallelOperationsTest, AtMostARowOfTilesIsDoneBetweenTwoReports) {
    constexpr std::size_t kSide = 250;
    ParallelCase images(kSide, kSide, 24, false);
    fnWorkAlone();
    for (const ParallelOperation& operation : m_Operations) {
        StepDisplay display;
        images.fnRun(operation, &display);
        const std::size_t reports = display.m_Percents.size();
        EXPECT_TRUE(reports == 0 || reports * CqTileMap::kMaxTileSize >= kSide)
            << operation.m_pName;
    }
}

TEST_F(ParallelOperationsTest, AnAbortAtAnyReportLeavesTheSameState) {
    for (const Depth& depth :
         {Depth{8, true}, Depth{16, false}, Depth{24, false}, Depth{32, false}}) {
        ParallelCase images(150, 300, depth.m_nBits, depth.m_bGrey);
        for (const ParallelOperation& operation : m_Operations) {
            fnWorkAlone();
            StepDisplay all;
            images.fnRun(operation, &all);
            // Each of the first reports, and then some of the others.
            for (std::size_t stop = 0; stop < all.m_Percents.size(); stop += 1 + stop / 4) {
                fnWorkAlone();
                StepDisplay first(stop);
                const ParallelResult expected = images.fnRun(operation, &first);
                fnDivide({3, CQ_WORK_ORDER::SCRAMBLED});
                StepDisplay second(stop);
                ASSERT_TRUE(images.fnRun(operation, &second) == expected)
                    << operation.m_pName << ", report " << stop;
                ASSERT_EQ(second.m_Percents, first.m_Percents) << operation.m_pName;
            }
        }
    }
}

TEST_F(ParallelOperationsTest, AFailedAllocationIsTheMemoryExceptionAndLeavesTheImage) {
    for (const Depth& depth :
         {Depth{8, true}, Depth{16, false}, Depth{24, false}, Depth{32, false}}) {
        ParallelCase images(140, 150, depth.m_nBits, depth.m_bGrey);
        for (const ParallelOperation& operation : m_Operations) {
            fnWorkAlone();
            const Rows after = images.fnRun(operation, nullptr).m_Pixels;
            const Rows before = fnRows(images.m_Image);
            fnDivide({3, CQ_WORK_ORDER::REVERSED});
            std::unique_ptr<CqImage> image;
            fnFailEachAllocation(
                [&] { image = std::make_unique<CqImage>(images.m_Image); },
                [&](CqAllocationFailure& failure) {
                    bool raised = false;
                    try {
                        operation.m_fnRun(*image, images.m_Other, images.m_Mask, nullptr);
                    } catch (CMemoryException* exception) {
                        exception->Delete();
                        raised = true;
                    } catch (const std::bad_alloc&) { // of the table's own rows
                        raised = true;
                    }
                    failure.fnEnd();
                    ASSERT_TRUE(fnRows(*image) == (raised ? before : after)) << operation.m_pName;
                });
        }
    }
}

} // namespace
} // namespace q32::test
