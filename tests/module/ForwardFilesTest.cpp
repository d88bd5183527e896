#include "platforms/headless/headless.h"
#include "q32Base/platform/CqForwardFiles.h"

#include <gtest/gtest.h>

namespace {

/// As a host writes it: one name is its own, all else is passed on.
class OwnName : public CqForwardFiles {
public:
    using CqForwardFiles::CqForwardFiles;
    bool fnExists(const char* path) override {
        return std::string(path) == "own:" || CqForwardFiles::fnExists(path);
    }
};

} // namespace

TEST(ForwardFiles, EveryCallReachesTheOtherService) {
    const auto world = q32HeadlessWorld();
    const std::shared_ptr<CqFileService> other = world->m_pFiles;
    const std::shared_ptr<CqFileService> files = std::make_shared<OwnName>(other);
    world->m_pDisks->fnPutFile("C:\\Temp\\a.txt", "text");

    std::string here;
    std::string there;
    EXPECT_TRUE(files->fnGetTempDirectory(here) && other->fnGetTempDirectory(there));
    EXPECT_EQ(here, there);
    EXPECT_TRUE(files->fnGetConfigDirectory(here) && other->fnGetConfigDirectory(there));
    EXPECT_EQ(here, there);
    EXPECT_TRUE(files->fnExists("own:")) << "its own";
    EXPECT_FALSE(other->fnExists("own:"));
    EXPECT_TRUE(files->fnExists("C:\\Temp\\a.txt"));
    EXPECT_TRUE(files->fnCreateDirectory("C:\\Temp\\new"));
    EXPECT_TRUE(other->fnExists("C:\\Temp\\new"));
    EXPECT_EQ(files->fnFind("C:\\Temp\\*.txt"), std::vector<std::string>{"a.txt"});
    CqFileInfo info;
    EXPECT_TRUE(files->fnGetInfo("C:\\Temp\\a.txt", false, info));
    EXPECT_EQ(info.m_nSize, 4u);
    EXPECT_EQ(files->fnHasWideSpaceQuery(), other->fnHasWideSpaceQuery());
    CqDiskSpace space;
    CqDiskSpace otherSpace;
    EXPECT_EQ(files->fnGetSpace("C:\\", space), other->fnGetSpace("C:\\", otherSpace));
    EXPECT_EQ(space.m_nAvailable, otherSpace.m_nAvailable);
    CqDiskClusters clusters;
    CqDiskClusters otherClusters;
    EXPECT_EQ(files->fnGetClusters("C:\\", clusters), other->fnGetClusters("C:\\", otherClusters));
    EXPECT_EQ(clusters.m_nFreeClusters, otherClusters.m_nFreeClusters);
}

TEST(ForwardFiles, FilesAreThoseOfTheOtherService) {
    const auto world = q32HeadlessWorld();
    OwnName files(world->m_pFiles);
    world->m_pDisks->fnPutFile("C:\\Temp\\a.txt", "text");

    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    EXPECT_EQ(files.fnOpen("C:\\Temp\\none", {}, cause), nullptr);
    EXPECT_EQ(cause, FILE_CAUSE_NOT_FOUND);
    EXPECT_NE(files.fnOpen("C:\\Temp\\a.txt", {}, cause), nullptr);
    const auto replacement = files.fnOpenReplacement("C:\\Temp\\b.txt", cause);
    ASSERT_NE(replacement, nullptr);
    EXPECT_EQ(replacement->fnGetStream().fnWrite("new", 3), FILE_CAUSE_NONE);
    EXPECT_EQ(replacement->fnCommit(), FILE_CAUSE_NONE);
    EXPECT_EQ(world->m_pDisks->fnGetFile("C:\\Temp\\b.txt"), "new");
    std::string text;
    EXPECT_TRUE(files.fnReadText("C:\\Temp\\a.txt", text));
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(files.fnUpdateText("C:\\Temp\\a.txt", [](std::string& all) {
        all += " and more";
        return true;
    }));
    EXPECT_EQ(world->m_pDisks->fnGetFile("C:\\Temp\\a.txt"), "text and more");
    EXPECT_TRUE(files.fnDelete("C:\\Temp\\a.txt"));
    EXPECT_FALSE(world->m_pDisks->fnGetFile("C:\\Temp\\a.txt").has_value());
}
