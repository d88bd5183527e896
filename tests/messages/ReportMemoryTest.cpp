#include "q32Base/messages/ReportMemory.h"

#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <new>

namespace {

class ReportMemory : public ::testing::Test {
protected:
    std::size_t fnCountBoxes() const { return m_World.m_pMessages->m_Boxes.size(); }

    CqFakeWorld m_World;
};

TEST_F(ReportMemory, ShowsTheMemoryMessageOnceForEitherFormOfTheFailure) {
    EXPECT_FALSE(q32::fnReportMemory([] { throw std::bad_alloc(); }));
    ASSERT_EQ(fnCountBoxes(), 1u);
    EXPECT_EQ(m_World.m_pMessages->m_Boxes[0].m_Text,
              "Insufficient memory. Please close other programs\nto free up system resources.");
    EXPECT_FALSE(q32::fnReportMemory([]() -> bool { AfxThrowMemoryException(); }));
    EXPECT_EQ(fnCountBoxes(), 2u);
}

TEST_F(ReportMemory, ShowsNothingForWorkThatReturnsWhateverTheResult) {
    EXPECT_TRUE(q32::fnReportMemory([] {}));
    EXPECT_TRUE(q32::fnReportMemory([] { return true; }));
    EXPECT_FALSE(q32::fnReportMemory([] { return false; }));
    EXPECT_EQ(fnCountBoxes(), 0u);
}

TEST_F(ReportMemory, PropagatesOtherFailures) {
    EXPECT_THROW(q32::fnReportMemory([] { AfxThrowResourceException(); }), CResourceException*);
    EXPECT_EQ(fnCountBoxes(), 0u);
}

} // namespace
