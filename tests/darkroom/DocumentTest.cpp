#include "examples/darkroom/model/Document.h"

#include "examples/darkroom/model/MemoryShare.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <string>

using darkroom::Document;
using darkroom::fnFindOperation;
using darkroom::Outcome;

namespace {

constexpr char kPath[] = "C:\\picture.png";

class DarkroomDocument : public AttachedTest {
protected:
    void SetUp() override {
        AttachedTest::SetUp();
        CqImage image;
        fnFillNoise(image, 200, 150, 24, 7);
        ASSERT_TRUE(q32WritePicture(kPath, image, PICTURE_PNG).fnIsDone());
    }

    static Outcome fnBrighten(Document& document, int by, CqProgressDisplay* progress = nullptr) {
        return document.fnApply(*fnFindOperation("brightness"), {by, 0}, progress);
    }
};

} // namespace

TEST_F(DarkroomDocument, OpensAPictureUnmodifiedAndWithoutHistory) {
    Document document(5);
    EXPECT_FALSE(document.fnHasImage());
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetImage().Width, 200u);
    EXPECT_EQ(document.fnGetPath(), kPath);
    EXPECT_EQ(document.IsModified(), 0);
    EXPECT_FALSE(document.fnCanUndo());
    EXPECT_FALSE(document.fnCanRedo());
}

TEST_F(DarkroomDocument, KeepsThePictureWhenAnotherOneCannotBeOpened) {
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    const Bytes before = fnBytesOf(document.fnGetImage());
    EXPECT_EQ(document.fnOpen("C:\\missing.png", nullptr).m_nMsgId, -3);
    EXPECT_EQ(document.fnGetPath(), kPath);
    EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
}

TEST_F(DarkroomDocument, GoesBackAndForthThroughItsHistory) {
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    std::vector<Bytes> states = {fnBytesOf(document.fnGetImage())};
    for (const int by : {10, -20, 30}) {
        ASSERT_TRUE(fnBrighten(document, by).fnIsDone());
        states.push_back(fnBytesOf(document.fnGetImage()));
    }
    EXPECT_EQ(document.fnGetUndoName(), "Brightness and Contrast");
    for (std::size_t i = states.size() - 1; i-- > 0;) {
        document.fnUndo();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), states[i]) << i;
    }
    EXPECT_FALSE(document.fnCanUndo());
    for (std::size_t i = 1; i < states.size(); ++i) {
        document.fnRedo();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), states[i]) << i;
    }
    EXPECT_FALSE(document.fnCanRedo());
}

TEST_F(DarkroomDocument, NamesTheChangeOnBothSides) {
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 10).fnIsDone());
    ASSERT_TRUE(document.fnApply(*fnFindOperation("right"), {}, nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetUndoName(), "Turn Right");
    document.fnUndo();
    EXPECT_EQ(document.fnGetUndoName(), "Brightness and Contrast");
    EXPECT_EQ(document.fnGetRedoName(), "Turn Right");
}

TEST_F(DarkroomDocument, IsModifiedExactlyWhereItDiffersFromTheSavedPicture) {
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 10).fnIsDone());
    EXPECT_EQ(document.IsModified(), 1);
    ASSERT_TRUE(document.fnSave("C:\\saved.png", nullptr).fnIsDone());
    EXPECT_EQ(document.IsModified(), 0);
    ASSERT_TRUE(fnBrighten(document, 10).fnIsDone());
    EXPECT_EQ(document.IsModified(), 1);
    document.fnUndo();
    EXPECT_EQ(document.IsModified(), 0) << "this is what was saved";
    document.fnUndo();
    EXPECT_EQ(document.IsModified(), 1) << "the file has the brighter picture";
    document.fnRedo();
    EXPECT_EQ(document.IsModified(), 0);
}

TEST_F(DarkroomDocument, SavesByTheExtensionAndReadsTheSameBack) {
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 25).fnIsDone());
    const Bytes wanted = fnBytesOf(document.fnGetImage());
    for (const char* path : {"C:\\a.png", "C:\\a.tif", "C:\\a.bmp"}) {
        ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone()) << path;
        Document again(0);
        ASSERT_TRUE(again.fnOpen(path, nullptr).fnIsDone()) << path;
        EXPECT_EQ(fnBytesOf(again.fnGetImage()), wanted) << path;
    }
    EXPECT_EQ(document.fnSave("C:\\a.txt", nullptr).m_nMsgId, -102);
    EXPECT_EQ(document.fnGetPath(), "C:\\a.bmp");
}

TEST_F(DarkroomDocument, KeepsAsManyStepsAsItIsTold) {
    Document document(2);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(fnBrighten(document, 5).fnIsDone());
    document.fnUndo();
    document.fnUndo();
    EXPECT_FALSE(document.fnCanUndo());
    EXPECT_EQ(document.IsModified(), 1) << "the state that was opened is out of reach";
    EXPECT_TRUE(document.fnSetLevels(0));
    EXPECT_FALSE(document.fnCanRedo());
    ASSERT_TRUE(fnBrighten(document, 5).fnIsDone());
    EXPECT_FALSE(document.fnCanUndo());
}

TEST_F(DarkroomDocument, PutsSnapshotsWhereTheMemoryPolicyWantsThem) {
    q32GetVMPolicy()->fnSetRamLimit(100000); // one picture has 90,000 bytes
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 10).fnIsDone());
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 1u);
    document.fnUndo();
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 1u) << "nothing is copied";
}

TEST_F(DarkroomDocument, AShareOfALargeMemoryIsCountedWhole) {
    EXPECT_EQ(darkroom::fnComputeLimit(1'000'000'000, 37), 370'000'000u);
    EXPECT_EQ(darkroom::fnComputeLimit(std::uint64_t{6} << 30, 50), 3'221'225'450u)
        << "the library's own rule wraps here";
    EXPECT_EQ(darkroom::fnComputeLimit(std::uint64_t{64} << 30, 100), UINT32_MAX);
    q32GetVMPolicy()->fnEnableMemUsage(true);
    q32GetVMPolicy()->fnSetMemUsage(1);
    darkroom::fnApplyMemoryShare();
    const std::uint32_t one = q32GetVMPolicy()->fnGetRamLimit();
    q32GetVMPolicy()->fnSetMemUsage(2);
    darkroom::fnApplyMemoryShare();
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamLimit(),
              std::min<std::uint64_t>(2 * std::uint64_t{one}, UINT32_MAX));
    EXPECT_GT(one, 0u);
}

TEST_F(DarkroomDocument, TellsItsListenerOfEachChange) {
    Document document(5);
    int told = 0;
    document.fnSetListener([&] { ++told; });
    const auto changes = [&](auto&& work) {
        told = 0;
        work();
        return told > 0;
    };
    EXPECT_TRUE(changes([&] { document.fnOpen(kPath, nullptr); }));
    EXPECT_TRUE(changes([&] { fnBrighten(document, 10); }));
    EXPECT_TRUE(changes([&] { document.fnUndo(); }));
    EXPECT_TRUE(changes([&] { document.fnRedo(); }));
    EXPECT_TRUE(changes([&] { document.fnSave("C:\\b.png", nullptr); }));
    EXPECT_TRUE(changes([&] { document.fnClose(); }));
    EXPECT_FALSE(document.fnHasImage());
}
