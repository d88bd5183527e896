#include "q32Base/framework/CList.h"

#include "q32Base/framework/CString.h"
#include "q32Base/framework/Exceptions.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <list>
#include <random>
#include <vector>

namespace {

using IntList = CList<int, int>;

std::vector<int> fnToVector(const IntList& list) {
    std::vector<int> all;
    for (POSITION at = list.GetHeadPosition(); at;)
        all.push_back(list.GetNext(at));
    return all;
}

/// An element whose copies can be made to fail.
struct Fragile {
    explicit Fragile(int value) : m_nValue(value) {}
    Fragile(const Fragile& other) : m_nValue(other.m_nValue) {
        if (theFailures > 0) {
            --theFailures;
            throw 5;
        }
    }
    Fragile& operator=(const Fragile&) = default;
    int m_nValue;
    static inline int theFailures = 0;
};

} // namespace

TEST(CList, KeepsElementsInOrder) {
    IntList list;
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    list.AddTail(2);
    list.AddTail(3);
    list.AddHead(1);
    EXPECT_EQ(list.GetCount(), 3);
    EXPECT_EQ(fnToVector(list), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(list.GetAt(list.GetHeadPosition()), 1);
    EXPECT_EQ(list.GetAt(list.GetTailPosition()), 3);
    list.GetAt(list.GetTailPosition()) = 4;
    EXPECT_EQ(fnToVector(list), (std::vector<int>{1, 2, 4}));
}

TEST(CList, FindsTheFirstEqualElement) {
    IntList list;
    list.AddTail(1);
    const POSITION second = list.AddTail(2);
    list.AddTail(2);
    EXPECT_EQ(list.Find(2), second);
    EXPECT_EQ(list.Find(3), nullptr);
}

TEST(CList, AgreesWithAPlainListOverRandomChanges) {
    std::mt19937 random(5);
    IntList list(3);
    std::list<int> plain;
    for (int round = 0; round < 5000; ++round) {
        const auto choice = random() % 5;
        if (choice < 2) {
            list.AddTail(round);
            plain.push_back(round);
        } else if (choice < 3) {
            list.AddHead(round);
            plain.push_front(round);
        } else if (!plain.empty()) {
            auto index = random() % plain.size();
            POSITION at = list.GetHeadPosition();
            auto plainAt = plain.begin();
            for (; index > 0; --index) {
                list.GetNext(at);
                ++plainAt;
            }
            list.RemoveAt(at);
            plain.erase(plainAt);
        }
        ASSERT_EQ(static_cast<std::size_t>(list.GetCount()), plain.size());
        ASSERT_EQ(fnToVector(list), std::vector<int>(plain.begin(), plain.end()));
    }
}

TEST(CList, AddingAndRemovingAlternatelyDoesNotAllocate) {
    IntList list(4);
    list.AddTail(0);
    const auto before = CqAllocationFailure::fnCount();
    for (int i = 0; i < 1000; ++i) {
        const POSITION added = i % 2 == 0 ? list.AddTail(i) : list.AddHead(i);
        const POSITION another = list.AddTail(i);
        list.RemoveAt(added);
        list.RemoveAt(another);
    }
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}

TEST(CList, TakesOneBlockForItsBlockSize) {
    IntList list(8);
    const auto before = CqAllocationFailure::fnCount();
    for (int i = 0; i < 16; ++i)
        list.AddTail(i);
    EXPECT_EQ(CqAllocationFailure::fnCount(), before + 2);
    list.AddTail(16);
    EXPECT_EQ(CqAllocationFailure::fnCount(), before + 3);
}

TEST(CList, AnEmptyListHoldsNoBlocks) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    CList<CString, const CString&> list(2);
    for (int i = 0; i < 5; ++i)
        list.AddTail(CString('x', 30));
    while (!list.IsEmpty())
        list.RemoveAt(list.GetHeadPosition());
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    list.AddTail("again");
    list.AddTail("and again");
    list.RemoveAll();
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    EXPECT_EQ(list.GetTailPosition(), nullptr);
    list.RemoveAll();
    list.AddTail("left for the destructor");
}

TEST(CList, AFailedAllocationLeavesTheListUnchanged) {
    IntList list(1);
    list.AddTail(1);
    {
        const CqAllocationFailure failure(1);
        EXPECT_THROW(list.AddTail(2), CMemoryException*);
    }
    {
        const CqAllocationFailure failure(1);
        EXPECT_THROW(list.AddHead(2), CMemoryException*);
    }
    EXPECT_EQ(fnToVector(list), (std::vector<int>{1}));
    list.AddTail(2);
    EXPECT_EQ(fnToVector(list), (std::vector<int>{1, 2}));
}

TEST(CList, AnElementThatFailsToCopyLosesNoNode) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    CList<Fragile, const Fragile&> list(4);
    Fragile::theFailures = 1;
    EXPECT_THROW(list.AddTail(Fragile(1)), int);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding) << "empty again";
    list.AddTail(Fragile(1));
    Fragile::theFailures = 1;
    EXPECT_THROW(list.AddTail(Fragile(2)), int);
    EXPECT_EQ(list.GetCount(), 1);
    const auto before = CqAllocationFailure::fnCount();
    for (int i = 0; i < 3; ++i)
        list.AddTail(Fragile(i));
    EXPECT_EQ(CqAllocationFailure::fnCount(), before) << "all four nodes of the block serve";
}
