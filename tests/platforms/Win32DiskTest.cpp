/// @file
/// A disk without space. Q32_TEST_DISK names a directory on one of 3 MB, ending in a backslash.

#include "platforms/win32/win32.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class Win32FullDisk : public testing::Test {
protected:
    void SetUp() override {
        const char* const disk = std::getenv("Q32_TEST_DISK");
        ASSERT_NE(disk, nullptr);
        m_szDisk = disk;
        CqDiskSpace space;
        ASSERT_TRUE(m_Services.m_pFiles->fnGetSpace(disk, space));
        ASSERT_LT(space.m_nTotal, 4u << 20) << "another disk";
    }

    CqPlatform m_Services = q32Win32Platform(q32Win32Windows());
    std::string m_szDisk;
};

TEST_F(Win32FullDisk, ASizeBeyondItIsRefusedAndNothingStaysAllocated) {
    CqScratchService& scratch = *m_Services.m_pScratch;
    std::string name;
    ASSERT_TRUE(scratch.fnCreateName(m_szDisk.c_str(), "~qd", name));
    const CqFileHandle file = scratch.fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    EXPECT_FALSE(scratch.fnSetSize(file, 16u << 20));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_DISK_FULL});
    CqFileInfo info;
    ASSERT_TRUE(m_Services.m_pFiles->fnGetInfo(name.c_str(), false, info));
    EXPECT_EQ(info.m_nSize, 0u);

    ASSERT_TRUE(scratch.fnSetSize(file, 2u << 20)) << "there is space for this";
    const CqMappingHandle mapping = scratch.fnCreateMapping(file, 2u << 20);
    void* const view = scratch.fnMapView(mapping, 2u << 20);
    ASSERT_NE(view, nullptr);
    std::memset(view, 7, 2u << 20);
    scratch.fnUnmapView(view, 2u << 20);
    scratch.fnCloseMapping(mapping);
    scratch.fnClose(file);
    EXPECT_TRUE(scratch.fnDelete(name.c_str()));
}

TEST_F(Win32FullDisk, AFileThatDoesNotFitLeavesTheOldOne) {
    CqFileService& files = *m_Services.m_pFiles;
    const std::string name = m_szDisk + "a";
    const auto put = [&](std::size_t bytes) {
        return files.fnUpdateText(name.c_str(), [&](std::string& text) {
            text.assign(bytes, 'x');
            return true;
        });
    };
    EXPECT_TRUE(put(1000));
    EXPECT_FALSE(put(8u << 20));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_DISK_FULL});
    std::string text;
    EXPECT_TRUE(files.fnReadText(name.c_str(), text));
    EXPECT_EQ(text.size(), 1000u);
    EXPECT_EQ(files.fnFind((m_szDisk + "*").c_str()), (std::vector<std::string>{"a", "a.lock"}));
}

} // namespace
