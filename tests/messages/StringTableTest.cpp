#include "q32Base/framework/CString.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/StringTable_p.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

const std::map<UINT, std::string> kAllEntries = {
    {16, "Save the content of this window"},
    {32, "Places the window above all other windows"},
    {100, " Bytes"},
    {101, " KB"},
    {102, " MB"},
    {103, " GB"},
    {104, "Press Esc to abort..."},
    {105, "~qd"},
    {106, "~qd*.tmp"},
    {107, "Plain Text File (txt)"},
    {200, "ScratchFlag1"},
    {201, "ScratchFlag2"},
    {202, "ScratchFlag3"},
    {203, "ScratchFlag4"},
    {204, "ScratchPath1"},
    {205, "ScratchPath2"},
    {206, "ScratchPath3"},
    {207, "ScratchPath4"},
    {208, "MemPercent"},
    {209, "MemEnabled"},
    {210, "DitherHC"},
    {211, "GammaFlag"},
    {212, "GammaVal"},
    {213, "VMPolicy"},
    {214, "DispProp"},
    {215, "DumpWnd"},
    {216, "Layout"},
    {217, "PrefDir"},
    {218, "OnTop"},
    {219, "Qkz.cfg"},
    {300, "Sa&ve..."},
    {301, "Al&ways On Top"},
    {9999, "Insufficient memory. Please close other programs\nto free up system resources."},
    {9998, "Error starting program. Please close the program and try again."},
    {9997, "Unable to open the file [%s]."},
    {9996, "Unable to read the file [%s]."},
    {9995, "Unable to save the file [%s]."},
    {9994, "The file [%s] is invalid or corrupted."},
    {9993, "Unable to open the file [%s] that is accessed by the other programs."},
    {9992, "Unable to rename [%s] to [%s]."},
    {9991, "Unable to write a read-only file [%s]."},
    {9990, "The filename you have entered is too long.\nPlease try something shorter."},
    {9989, "The file [%s] is empty.\nUnable to open."},
    {9900, "Insufficient disk space. Do you want to continue?"},
    {9899, "This file may be read-only."},
    {9898, "File format is not supported. Unable to access the file."},
    {9897, "This value must be between %s and %s."},
    {9896, "The folder [%s] does not exist. Please enter again."},
    {9895, "The file [%s] already exists.\nDo you want to overwrite it?"},
    {9894, "Unable to find the file [%s]."},
    {9800, "Save changes to [%s] before closing?"},
    {57345, "Ready"},
};

} // namespace

TEST(StringTable, HoldsExactlyTheseEntries) {
    for (UINT id = 0; id < 70000; ++id) {
        const char* text = q32::fnFindString(id);
        const auto expected = kAllEntries.find(id);
        if (expected == kAllEntries.end())
            EXPECT_EQ(text, nullptr) << id;
        else
            EXPECT_STREQ(text, expected->second.c_str()) << id;
    }
    EXPECT_EQ(q32::fnFindString(0xFFFFFFFFu), nullptr);
}

TEST(StringTable, NamesOfKeysAndSectionsFitTheirBuffer) {
    for (UINT id = 200; id <= 219; ++id) {
        char name[32];
        EXPECT_EQ(q32::fnLoadString(id, name, sizeof(name)),
                  static_cast<int>(kAllEntries.at(id).size()));
        EXPECT_EQ(name, kAllEntries.at(id));
    }
}

TEST(StringTable, AnEntryIsTruncatedToTheBuffer) {
    char buffer[] = "xxxxxxxx";
    EXPECT_EQ(q32::fnLoadString(213, buffer, 6), 5);
    EXPECT_STREQ(buffer, "VMPol");
    EXPECT_EQ(buffer[6], 'x');
    EXPECT_EQ(q32::fnLoadString(213, buffer, 1), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer[1], 'M');
    EXPECT_EQ(q32::fnLoadString(105, buffer, 4), 3);
    EXPECT_STREQ(buffer, "~qd");
}

TEST(StringTable, ABufferOfZeroBytesIsNotTouched) {
    char buffer[] = "xx";
    EXPECT_EQ(q32::fnLoadString(213, buffer, 0), -1);
    EXPECT_EQ(q32::fnLoadString(213, nullptr, -5), -1);
    EXPECT_EQ(q32::fnLoadString(999, buffer, 0), -1);
    EXPECT_STREQ(buffer, "xx");
}

TEST(StringTable, AMissingEntryIsEmpty) {
    char buffer[] = "xx";
    EXPECT_EQ(q32::fnLoadString(999, buffer, 3), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(CStringLoadString, TakesTheLibrarysEntryFirst) {
    CqFakeWorld world;
    world.m_pResources->m_Strings[{nullptr, 105}] = "the host's";
    CString text;
    EXPECT_TRUE(text.LoadString(105));
    EXPECT_STREQ(text, "~qd");
}

TEST(CStringLoadString, FallsBackToTheHostsEntry) {
    CqFakeWorld world;
    const std::string longText(5000, 'h');
    world.m_pResources->m_Strings[{nullptr, 5000}] = longText;
    CString text;
    EXPECT_TRUE(text.LoadString(5000));
    EXPECT_EQ(std::string(text), longText);
}

TEST(CStringLoadString, AMissingEntryEmptiesTheString) {
    CqFakeWorld world;
    CString text("before");
    EXPECT_FALSE(text.LoadString(5000));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CStringLoadString, WorksForTheLibrarysEntriesWithoutAPlatform) {
    CString text("before");
    EXPECT_FALSE(text.LoadString(5000));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(text.LoadString(101));
    EXPECT_STREQ(text, " KB");
}

TEST(CStringLoadString, ExhaustedMemoryRaisesTheMemoryExceptionAndLeavesTheString) {
    CqFakeWorld world;
    world.m_pResources->m_bMemoryFails = true;
    CString text("before");
    EXPECT_THROW(text.LoadString(5000), CMemoryException*);
    EXPECT_STREQ(text, "before");
}
