#include "q32Base/framework/CString.h"

#include "q32Base/framework/Exceptions.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <string>

namespace {

constexpr const char* kLong = "a text that no short-string room would hold, ever";

const char* fnBytes(const CString& text) {
    return text;
}

} // namespace

TEST(CString, AnEmptyStringHasNoBlock) {
    const auto before = CqAllocationFailure::fnCount();
    const CString text;
    const CString copy(text);
    CString assigned;
    assigned = text;
    const CString fromNull(static_cast<const char*>(nullptr));
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
    for (const CString* empty : {&text, &copy, static_cast<const CString*>(&assigned), &fromNull}) {
        EXPECT_EQ(empty->GetLength(), 0);
        EXPECT_EQ(empty->GetAllocLength(), 0);
        EXPECT_TRUE(empty->IsEmpty());
        EXPECT_STREQ(*empty, "");
    }
}

TEST(CString, ANewTextHasABlockOfItsLength) {
    const CString text("abc");
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text.GetAllocLength(), 3);
    EXPECT_STREQ(text, "abc");
}

TEST(CString, IsMadeOfARepeatedCharacter) {
    EXPECT_STREQ(CString('x', 3), "xxx");
    EXPECT_STREQ(CString('x'), "x");
    EXPECT_TRUE(CString('x', 0).IsEmpty());
    EXPECT_TRUE(CString('x', -1).IsEmpty());
}

TEST(CString, AnExplicitLengthIncludesEmbeddedZeros) {
    const CString text("a\0b", 3);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text[2], 'b');
    EXPECT_STREQ(text, "a");
    const CString copy = text.Mid(0, 3);
    EXPECT_EQ(std::memcmp(fnBytes(copy), "a\0b", 4), 0);
}

TEST(CString, CopiesShareTheirBlockUntilOneChanges) {
    CString text("abc");
    const auto before = CqAllocationFailure::fnCount();
    CString copy(text);
    CString assigned;
    assigned = text;
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
    EXPECT_EQ(fnBytes(copy), fnBytes(text));
    copy.SetAt(0, 'x');
    EXPECT_STREQ(copy, "xbc");
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(fnBytes(assigned), fnBytes(text));
    assigned += "d";
    EXPECT_STREQ(assigned, "abcd");
    EXPECT_STREQ(text, "abc");
    CString upper(text);
    upper.MakeUpper();
    EXPECT_STREQ(upper, "ABC");
    upper.MakeLower();
    EXPECT_STREQ(upper, "abc");
    EXPECT_STREQ(text, "abc");
}

TEST(CString, ASmallerTextReusesTheBlock) {
    CString text("abcdef");
    const char* block = text;
    const auto before = CqAllocationFailure::fnCount();
    text = "xy";
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
    EXPECT_EQ(fnBytes(text), block);
    EXPECT_EQ(text.GetLength(), 2);
    EXPECT_EQ(text.GetAllocLength(), 6);
    text += "1234";
    EXPECT_EQ(fnBytes(text), block);
    EXPECT_STREQ(text, "xy1234");
    text = static_cast<const char*>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    text = 'z';
    EXPECT_STREQ(text, "z");
    EXPECT_EQ(CqAllocationFailure::fnCount(), before);
}

TEST(CString, ASharedBlockIsNotReused) {
    CString text("abcdef");
    const CString copy(text);
    text = "xy";
    EXPECT_STREQ(copy, "abcdef");
    EXPECT_STREQ(text, "xy");
    EXPECT_EQ(text.GetAllocLength(), 2);
}

TEST(CString, EmptyReleasesTheBlock) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    CString text("abc");
    text.Empty();
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
    EXPECT_EQ(text.GetAllocLength(), 0);
}

TEST(CString, MayBeAssignedToItself) {
    CString text("abc");
    const CString& same = text;
    text = same;
    EXPECT_STREQ(text, "abc");
    text = fnBytes(text);
    EXPECT_STREQ(text, "abc");
}

TEST(CString, MayBeAssignedAPartOfItself) {
    CString text("abcdef");
    text = text.Left(4);
    EXPECT_STREQ(text, "abcd");
    text = fnBytes(text) + 2;
    EXPECT_STREQ(text, "cd");
    CString shared("abcdef");
    const CString holder(shared);
    shared = fnBytes(shared) + 3;
    EXPECT_STREQ(shared, "def");
    EXPECT_STREQ(holder, "abcdef");
}

TEST(CString, MayBeAppendedToItself) {
    CString text("abc");
    text += text;
    EXPECT_STREQ(text, "abcabc");
    text += fnBytes(text) + 4;
    EXPECT_STREQ(text, "abcabcbc");
    CString roomy;
    roomy.GetBuffer(100);
    roomy = "abc";
    const char* block = roomy;
    roomy += fnBytes(roomy);
    EXPECT_STREQ(roomy, "abcabc");
    EXPECT_EQ(fnBytes(roomy), block);
    roomy += roomy[0];
    EXPECT_STREQ(roomy, "abcabca");
}

TEST(CString, SumsLeaveTheirOperands) {
    const CString a("ab");
    const CString b("cd");
    EXPECT_STREQ(a + b, "abcd");
    EXPECT_STREQ(a + "x", "abx");
    EXPECT_STREQ("x" + a, "xab");
    EXPECT_STREQ(a + 'x', "abx");
    EXPECT_STREQ(a + CString(), "ab");
    EXPECT_STREQ(CString() + static_cast<const char*>(nullptr), "");
    EXPECT_STREQ(a, "ab");
}

TEST(CString, SubstringsAreClippedToTheText) {
    const CString text("abcdef");
    EXPECT_STREQ(text.Mid(2), "cdef");
    EXPECT_STREQ(text.Mid(2, 3), "cde");
    EXPECT_STREQ(text.Mid(4, 100), "ef");
    EXPECT_STREQ(text.Mid(4, INT_MAX), "ef");
    EXPECT_STREQ(text.Mid(-3, 2), "ab");
    EXPECT_STREQ(text.Mid(100, 1), "");
    EXPECT_STREQ(text.Mid(1, -1), "");
    EXPECT_STREQ(text.Left(2), "ab");
    EXPECT_STREQ(text.Left(-1), "");
    EXPECT_STREQ(text.Left(100), "abcdef");
    EXPECT_STREQ(text.Right(2), "ef");
    EXPECT_STREQ(text.Right(100), "abcdef");
    EXPECT_STREQ(text.Right(-1), "");
    EXPECT_EQ(fnBytes(text.Left(6)), fnBytes(text)) << "the whole shares the block";
}

TEST(CString, IsSearchedFromEitherEnd) {
    const CString text("abcabc");
    EXPECT_EQ(text.Find('b'), 1);
    EXPECT_EQ(text.Find('b', 2), 4);
    EXPECT_EQ(text.Find('b', 5), -1);
    EXPECT_EQ(text.Find('x'), -1);
    EXPECT_EQ(text.Find('a', -7), 0);
    EXPECT_EQ(text.ReverseFind('b'), 4);
    EXPECT_EQ(text.ReverseFind('x'), -1);
    EXPECT_EQ(text.Find("ca"), 2);
    EXPECT_EQ(text.Find("abc", 1), 3);
    EXPECT_EQ(text.Find("abc", 4), -1);
    EXPECT_EQ(text.Find("", 6), 6);
    EXPECT_EQ(text.Find("a", 7), -1);
    EXPECT_EQ(text.Find("a", -1), -1);
}

TEST(CString, ComparesBytesAsUnsignedValues) {
    EXPECT_LT(CString("abc").Compare("abd"), 0);
    EXPECT_GT(CString("abc").Compare("ab"), 0);
    EXPECT_GT(CString("\xe9").Compare("z"), 0);
    EXPECT_EQ(CString("").Compare(nullptr), 0);
    EXPECT_EQ(CString("aBc").CompareNoCase("AbC"), 0);
    EXPECT_LT(CString("aBc").CompareNoCase("AbD"), 0);
    EXPECT_GT(CString("aB").CompareNoCase("A"), 0);
    EXPECT_LT(CString("_").CompareNoCase("A"), 0) << "letters count as lower case";
    EXPECT_GT(CString("\xe9").CompareNoCase("\xc9"), 0) << "ASCII letters alone";
    EXPECT_TRUE(CString("a") == CString("a"));
    EXPECT_TRUE(CString("a") == "a");
    EXPECT_TRUE(CString("a") < CString("b"));
}

TEST(CString, TrimsBlanksAtItsEnds) {
    CString text(" \t\r\n a b \v\f ");
    text.TrimLeft();
    EXPECT_STREQ(text, "a b \v\f ");
    text.TrimRight();
    EXPECT_STREQ(text, "a b");
    text = "   ";
    text.TrimLeft();
    EXPECT_TRUE(text.IsEmpty());
    text = "   ";
    text.TrimRight();
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CString, FormatsNumbersAndTexts) {
    CString text;
    text.Format("%d %s %.2f", -5, "abc", 1.5);
    EXPECT_STREQ(text, "-5 abc 1.50");
    text.Format("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(text.GetLength(), 5000);
    text.Format("%s", "");
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetAllocLength(), 0);
}

TEST(CString, ABufferHasTheRequestedCapacityAndKeepsTheText) {
    CString text("abc");
    char* buffer = text.GetBuffer(10);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(text.GetAllocLength(), 10);
    EXPECT_EQ(text.GetLength(), 3);
    std::strcpy(buffer, "0123456789");
    text.ReleaseBuffer();
    EXPECT_EQ(text.GetLength(), 10);
    EXPECT_EQ(text.GetBuffer(4), buffer) << "there is room already";
    text.ReleaseBuffer(4);
    EXPECT_STREQ(text, "0123");
    EXPECT_EQ(text.GetAllocLength(), 10);
    text.FreeExtra();
    EXPECT_EQ(text.GetAllocLength(), 4);
    EXPECT_STREQ(text, "0123");
}

TEST(CString, ABufferOfAnEmptyOrSharedStringIsItsOwn) {
    CString empty;
    char* buffer = empty.GetBuffer(0);
    buffer[0] = 0;
    EXPECT_NE(static_cast<const char*>(buffer), fnBytes(CString()));
    empty.ReleaseBuffer();
    EXPECT_TRUE(empty.IsEmpty());

    CString text("abc");
    const CString copy(text);
    text.GetBuffer(1)[0] = 'x';
    text.ReleaseBuffer();
    EXPECT_STREQ(text, "xbc");
    EXPECT_STREQ(copy, "abc");
}

TEST(CString, ABufferOfASetLengthIsZeroFilled) {
    CString text("ab");
    char* buffer = text.GetBufferSetLength(5);
    EXPECT_EQ(text.GetLength(), 5);
    EXPECT_EQ(std::memcmp(buffer, "ab\0\0\0", 6), 0);
    text.GetBufferSetLength(1);
    EXPECT_STREQ(text, "a");
    EXPECT_EQ(text.GetLength(), 1);
}

TEST(CString, ReleasingTheEmptyStringLeavesIt) {
    CString text;
    text.ReleaseBuffer(0);
    text.ReleaseBuffer();
    text.FreeExtra();
    EXPECT_EQ(text.GetAllocLength(), 0);
}

TEST(CString, ANegativeLengthRaisesTheMemoryException) {
    EXPECT_THROW(CString("abc", -1), CMemoryException*);
}

TEST(CString, AFailedAllocationLeavesEveryStringUnchanged) {
    const CString other(kLong);
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    const std::function<void(CString&)> changes[] = {
        [](CString& s) { s = kLong; },        [](CString& s) { s += kLong; },
        [&](CString& s) { s += other; },      [](CString& s) { s += s; },
        [](CString& s) { s.SetAt(0, 'x'); },  [](CString& s) { s.MakeUpper(); },
        [](CString& s) { s.TrimLeft(); },     [](CString& s) { s.Format("%s", kLong); },
        [](CString& s) { s.GetBuffer(100); }, [](CString& s) { s.GetBufferSetLength(100); },
        [&](CString& s) { s = s + other; },
    };
    for (const auto& change : changes) {
        CString text(" abc");
        const CString shared(text);
        bool failed = false;
        CqAllocationFailure failure(1);
        try {
            change(text);
        } catch (CMemoryException* exception) {
            failed = true;
            exception->Delete();
        }
        failure.fnEnd();
        EXPECT_TRUE(failed);
        EXPECT_STREQ(text, " abc");
        EXPECT_STREQ(shared, " abc");
    }
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(CString, SharingNeverAllocates) {
    const CString text(kLong);
    const CqAllocationFailure failure(1, true);
    CString copy(text);
    CString other;
    other = copy;
    copy.Empty();
    EXPECT_STREQ(other.Mid(0), kLong);
    EXPECT_FALSE(failure.fnHappened());
}

TEST(CString, OnlySmallLettersAreRaisedAndOnlyBlanksTrimmed) {
    CString text("aZ{1`\xE4");
    text.MakeUpper();
    EXPECT_STREQ(text, "AZ{1`\xE4");
    CString control("\x01 x \x01");
    control.TrimLeft();
    control.TrimRight();
    EXPECT_STREQ(control, "\x01 x \x01");
}

TEST(CString, NoTextCountsAsAnEmptyOne) {
    const CString text("ab");
    EXPECT_GT(text.CompareNoCase(nullptr), 0);
    EXPECT_EQ(CString().CompareNoCase(nullptr), 0);
    EXPECT_EQ(text.Find(static_cast<const char*>(nullptr), 1), 1);
}

#ifndef _WIN32 // where formatting drops such a character
TEST(CString, WhatCannotBeFormattedRaisesTheMemoryException) {
    const wchar_t noCharacter[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    CString text("old");
    EXPECT_THROW(text.Format("%ls", noCharacter), CMemoryException*);
    EXPECT_STREQ(text, "old");
}
#endif
