#include "q32Base/framework/CArray.h"

#include "q32Base/framework/CString.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

std::vector<unsigned int> fnToVector(const CUIntArray& array) {
    return {array.GetData(), array.GetData() + array.GetSize()};
}

CUIntArray& fnFill(CUIntArray& array, int count) {
    for (int i = 0; i < count; ++i)
        array.Add(static_cast<unsigned int>(i));
    return array;
}

} // namespace

TEST(CArray, GrowsByAnEighthOfItsSizeAtLeastFourAndAtMost1024) {
    CUIntArray array;
    int capacity = 0;
    for (int size = 0; size < 20000; ++size) {
        EXPECT_EQ(array.GetCapacity(), capacity);
        if (size == capacity)
            capacity += std::min(std::max(size / 8, 4), 1024);
        array.Add(0);
        ASSERT_EQ(array.GetCapacity(), capacity) << size;
    }
}

TEST(CArray, GrowsAtLeastToTheRequestedSize) {
    CUIntArray array;
    array.SetSize(3);
    EXPECT_EQ(array.GetCapacity(), 4);
    array.SetSize(100);
    EXPECT_EQ(array.GetCapacity(), 100);
    array.SetSize(101);
    EXPECT_EQ(array.GetCapacity(), 112) << "an eighth of 100 more";
    array.SetSize(112);
    EXPECT_EQ(array.GetCapacity(), 112);
}

TEST(CArray, AnExplicitGrowStepReplacesTheRule) {
    CUIntArray array;
    array.SetSize(1, 10);
    EXPECT_EQ(array.GetCapacity(), 10);
    array.SetSize(11);
    EXPECT_EQ(array.GetCapacity(), 20) << "the step is kept";
    array.SetSize(21, 0);
    EXPECT_EQ(array.GetCapacity(), 24) << "the rule again";
}

TEST(CArray, NewElementsAreZero) {
    CUIntArray array;
    array.SetSize(4);
    for (int i = 0; i < 4; ++i)
        array[i] = 7;
    array.SetSize(1);
    array.SetSize(6);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{7, 0, 0, 0, 0, 0}));
}

TEST(CArray, ASizeOfZeroReleasesTheStorage) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    CUIntArray array;
    fnFill(array, 10).SetSize(0);
    EXPECT_EQ(array.GetCapacity(), 0);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    fnFill(array, 10).RemoveAll();
    EXPECT_EQ(array.GetCapacity(), 0);
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetUpperBound(), -1);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(CArray, FreeExtraLeavesNoSpareCapacity) {
    CUIntArray array;
    fnFill(array, 5).FreeExtra();
    EXPECT_EQ(array.GetCapacity(), 5);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 1, 2, 3, 4}));
    array.RemoveAt(0, 5);
    EXPECT_EQ(array.GetCapacity(), 5);
    array.FreeExtra();
    EXPECT_EQ(array.GetCapacity(), 0);
    array.FreeExtra();
    EXPECT_EQ(array.GetCapacity(), 0);
}

TEST(CArray, ElementsAreInsertedAndRemoved) {
    CUIntArray array;
    fnFill(array, 3);
    array.InsertAt(1, 9, 2);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 9, 9, 1, 2}));
    array.InsertAt(7, 8);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 9, 9, 1, 2, 0, 0, 8}));
    array.RemoveAt(1, 2);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 1, 2, 0, 0, 8}));
    array.RemoveAt(5);
    array.RemoveAt(0, 0);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 1, 2, 0, 0}));
    array.SetAt(0, 4);
    array.SetAtGrow(6, 5);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{4, 1, 2, 0, 0, 0, 5}));
    EXPECT_EQ(array.GetUpperBound(), 6);
}

TEST(CArray, AnArrayMayBeAppendedToItself) {
    CUIntArray array;
    EXPECT_EQ(fnFill(array, 3).Append(array), 3);
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 1, 2, 0, 1, 2}));
    CUIntArray empty;
    EXPECT_EQ(empty.Append(empty), 0);
}

TEST(CArray, ACopyReplacesTheContent) {
    CUIntArray array;
    CUIntArray other;
    fnFill(array, 3);
    fnFill(other, 8);
    other.Copy(array);
    EXPECT_EQ(fnToVector(other), (std::vector<unsigned int>{0, 1, 2}));
    other.Copy(other);
    EXPECT_EQ(other.GetSize(), 3);
    other.Copy(CUIntArray());
    EXPECT_TRUE(other.IsEmpty());
}

TEST(CArray, AnArrayMayAddOneOfItsOwnElements) {
    CArray<CString, const CString&> array;
    array.Add("first text that needs a block");
    for (int i = 0; i < 20; ++i)
        array.Add(array[0]);
    array.InsertAt(0, array[20], 30);
    array.SetAtGrow(100, array[0]);
    EXPECT_STREQ(array[50], "first text that needs a block");
    EXPECT_STREQ(array[100], "first text that needs a block");
    EXPECT_TRUE(array[99].IsEmpty());
}

TEST(CArray, ElementsAreDestroyedOnce) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    {
        CArray<CString, const CString&> array;
        for (int i = 0; i < 30; ++i)
            array.Add(CString('x', 20));
        array.RemoveAt(3, 7);
        array.InsertAt(2, CString('y', 30), 4);
        array.SetSize(5);
        array.FreeExtra();
        EXPECT_STREQ(array[2], CString('y', 30));
    }
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(CArray, AFailedGrowthLeavesTheArrayUnchanged) {
    CUIntArray array;
    fnFill(array, 4);
    CUIntArray other;
    fnFill(other, 4);
    const auto fails = [](auto&& work) {
        CqAllocationFailure failure(1);
        try {
            work();
        } catch (CMemoryException* exception) {
            exception->Delete();
            return true;
        }
        return false;
    };
    EXPECT_TRUE(fails([&] { array.Add(9); }));
    EXPECT_TRUE(fails([&] { array.SetSize(100); }));
    EXPECT_TRUE(fails([&] { array.InsertAt(0, 9); }));
    EXPECT_TRUE(fails([&] { array.Append(other); }));
    EXPECT_TRUE(fails([&] { array.SetAtGrow(50, 1); }));
    array.RemoveAt(3);
    EXPECT_TRUE(fails([&] { array.FreeExtra(); }));
    EXPECT_EQ(fnToVector(array), (std::vector<unsigned int>{0, 1, 2}));
    EXPECT_EQ(array.GetCapacity(), 4);
}

TEST(CArray, SettingAnElementThatExistsKeepsTheSize) {
    CArray<int, int> array;
    array.SetSize(2);
    array.SetAtGrow(0, 5);
    EXPECT_EQ(array.GetSize(), 2);
    EXPECT_EQ(array[0], 5);
}
