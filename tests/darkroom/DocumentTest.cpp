#include "examples/darkroom/model/Document.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/MemoryShare.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

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

TEST_F(DarkroomDocument, ANewPictureKeepsNothingOfTheFormerOne) {
    struct Mark : CObject {
        explicit Mark(bool& gone) : m_bGone(gone) {}
        ~Mark() override { m_bGone = true; }
        bool& m_bGone;
    };
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    CqImage& image = document.fnGetImage();
    bool gone = false;
    image.DpiX = 300;
    image.DpiY = 150;
    image.Title = "before";
    image.fnSetPluginData(new Mark(gone));
    ASSERT_EQ(image.fnGetFioPlugin(), PICTURE_PNG);
    ASSERT_TRUE(document.fnNew(50, 40, CqColor(), nullptr).fnIsDone());
    const CqImage fresh;
    EXPECT_EQ(image.DpiX, fresh.DpiX);
    EXPECT_EQ(image.DpiY, fresh.DpiY);
    EXPECT_EQ(image.Title, "");
    EXPECT_EQ(image.fnGetFioPlugin(), fresh.fnGetFioPlugin());
    EXPECT_TRUE(gone);
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
    EXPECT_EQ(document.fnGetUndoName(), "Rotate Right");
    document.fnUndo();
    EXPECT_EQ(document.fnGetUndoName(), "Brightness and Contrast");
    EXPECT_EQ(document.fnGetRedoName(), "Rotate Right");
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
    const Bytes expected = fnBytesOf(document.fnGetImage());
    for (const char* path : {"C:\\a.png", "C:\\a.tif", "C:\\a.bmp"}) {
        ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone()) << path;
        Document again(0);
        ASSERT_TRUE(again.fnOpen(path, nullptr).fnIsDone()) << path;
        EXPECT_EQ(fnBytesOf(again.fnGetImage()), expected) << path;
    }
    EXPECT_EQ(document.fnSave("C:\\a.txt", nullptr).m_nMsgId, -102);
    EXPECT_EQ(document.fnGetPath(), "C:\\a.bmp");
}

TEST_F(DarkroomDocument, KeepsTheConfiguredNumberOfSteps) {
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

TEST_F(DarkroomDocument, FewerLevelsKeepTheNewestStepsOnBothSides) {
    const auto check = [](unsigned int undone, unsigned int levels, bool back) {
        Document document(10);
        ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
        std::vector<Bytes> states = {fnBytesOf(document.fnGetImage())};
        for (int i = 0; i < 8; ++i) {
            ASSERT_TRUE(fnBrighten(document, i % 2 ? -9 : 7).fnIsDone());
            states.push_back(fnBytesOf(document.fnGetImage()));
        }
        const unsigned int here = 8 - undone;
        for (unsigned int i = 0; i < undone; ++i)
            document.fnUndo();
        ASSERT_TRUE(document.fnSetLevels(levels));
        EXPECT_EQ(document.fnGetLevels(), levels);
        // To the end of the history in one direction.
        unsigned int at = here;
        while (back ? document.fnCanUndo() : document.fnCanRedo()) {
            EXPECT_EQ(fnBytesOf(document.fnGetImage()), states[at]);
            back ? document.fnUndo() : document.fnRedo();
            at = back ? at - 1 : at + 1;
        }
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), states[at]);
        EXPECT_EQ(at, back ? here - std::min(here, levels) : here + std::min(undone, levels));
        EXPECT_EQ(document.IsModified(), at == 0 ? 0 : 1) << "their numbers came along";
    };
    for (const unsigned int undone : {0u, 3u, 5u, 8u})
        for (const unsigned int levels : {0u, 1u, 2u, 4u, 10u})
            for (const bool back : {true, false}) {
                SCOPED_TRACE(std::to_string(undone) + " undone, then levels " +
                             std::to_string(levels));
                check(undone, levels, back);
            }
}

TEST_F(DarkroomDocument, MoreLevelsAfterFewerAcceptNewSteps) {
    Document document(4);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(fnBrighten(document, 5).fnIsDone());
    ASSERT_TRUE(document.fnSetLevels(1));
    ASSERT_TRUE(document.fnSetLevels(3));
    ASSERT_TRUE(fnBrighten(document, 5).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 5).fnIsDone());
    int steps = 0;
    for (; document.fnCanUndo(); document.fnUndo())
        ++steps;
    EXPECT_EQ(steps, 3);
}

TEST_F(DarkroomDocument, ValuesThatDoNothingAreNoChange) {
    const std::pair<const char*, darkroom::Values> neutral[] = {
        {"brightness", {0, 0}},
        {"balance", {0, 0, 0}},
        {"hue", {0, 0}},
        {"soften", {0}},
        {"sharpen", {0}},
        {"resize", {200, 150, 1}},
        {"resize", {200, 150, 0}},
        {"rotate", {0, 1, 0xFFFFFF}},
        {"rotate", {0, 0, 0x1234}},
    };
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    for (const auto& [id, values] : neutral) {
        AbortingProgress progress(100000);
        EXPECT_TRUE(document.fnApply(*fnFindOperation(id), values, &progress).fnIsDone()) << id;
        EXPECT_EQ(progress.m_nCalls, 0u) << id << ": not even a snapshot";
        EXPECT_FALSE(document.fnCanUndo()) << id;
        EXPECT_EQ(document.IsModified(), 0) << id;
        const Bytes before = fnBytesOf(document.fnGetImage());
        CqImage image;
        ASSERT_TRUE(darkroom::fnCopyPicture(document.fnGetImage(), image, nullptr));
        fnFindOperation(id)->m_pRun(image, values, nullptr);
        EXPECT_EQ(fnBytesOf(image), before) << id << ": and it would indeed change nothing";
    }
    const std::pair<const char*, darkroom::Values> effective[] = {
        {"brightness", {0, 1}},    {"balance", {0, 0, -1}},
        {"hue", {1, 0}},           {"threshold", {0}},
        {"resize", {200, 149, 0}}, {"rotate", {1, 0, 0}},
        {"rotate", {18000, 0, 0}}, {"right", {}},
    };
    for (const auto& [id, values] : effective)
        EXPECT_TRUE(fnFindOperation(id)->fnChanges(document.fnGetImage(), values)) << id;
}

TEST_F(DarkroomDocument, NothingIsThrownWhicheverAllocationFails) {
    using Work = std::function<Outcome(Document&)>;
    const std::string path = kPath;
    const std::string saved = "C:\\a name that is too long to lie in the string itself.png";
    const std::string missing = saved + ".tif";
    const darkroom::Values values = {20, 10};
    const darkroom::Values color = {0x030201};
    CqImage pattern;
    fnFillNoise(pattern, 7, 5, 24, 1);
    const Work works[] = {
        [&](Document& document) { return document.fnOpen(path, nullptr); },
        [&](Document& document) { return document.fnOpen(missing, nullptr); },
        [&](Document& document) { return document.fnSave(saved, nullptr); },
        [&](Document& document) { return document.fnNew(50, 50, CqColor(), nullptr); },
        [&](Document& document) {
            return document.fnApply(*fnFindOperation("brightness"), values, nullptr);
        },
        [&](Document& document) {
            return document.fnApply(*fnFindOperation("half"), values, nullptr);
        },
        [&](Document& document) {
            return document.fnApply(darkroom::fnGetFillOperation(), color, nullptr);
        },
        [&](Document& document) { return document.fnFillPattern(pattern, CPoint(3, 2), nullptr); },
        [&](Document& document) { return document.fnCrop(nullptr); },
        [&](Document& document) {
            return document.fnSelectColor(CqColor(), 90, Document::Combine::ADD, nullptr);
        },
        [&](Document& document) {
            document.fnUndo();
            return Outcome();
        },
        [&](Document& document) {
            document.fnSetLevels(9);
            return Outcome();
        },
    };
    for (std::size_t i = 0; i < std::size(works); ++i) {
        std::unique_ptr<Document> document;
        Bytes before;
        std::string listened;
        const auto prepare = [&] {
            document = std::make_unique<Document>(5);
            ASSERT_TRUE(document->fnOpen(path, nullptr).fnIsDone());
            ASSERT_TRUE(fnBrighten(*document, 10).fnIsDone());
            const std::vector<CqPoint2D> corners = {{20, 30}, {150, 140}};
            ASSERT_TRUE(document
                            ->fnSelectShape(darkroom::ShapeKind::RECTANGLE, corners,
                                            Document::Combine::REPLACE, nullptr)
                            .fnIsDone());
            document->fnSetListener([&] { listened = std::string(100, 'x'); });
            before = fnBytesOf(document->fnGetImage());
            listened = std::string();
        };
        const std::size_t failed = fnFailEachAllocation(prepare, [&](CqAllocationFailure& failure) {
            Outcome outcome;
            EXPECT_NO_THROW(outcome = works[i](*document)) << i;
            failure.fnEnd();
            if (!outcome.fnIsDone()) {
                EXPECT_EQ(fnBytesOf(document->fnGetImage()), before) << i;
                EXPECT_TRUE(document->fnCanUndo()) << i;
                EXPECT_EQ(document->fnGetPath(), path) << i;
            }
        });
        EXPECT_GT(failed, 0u) << i;
    }
}

TEST_F(DarkroomDocument, AllocatesSnapshotsAsTheMemoryPolicyDecides) {
    q32GetVMPolicy()->fnSetRamLimit(100000); // one picture takes 90,000 bytes
    Document document(5);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    ASSERT_TRUE(fnBrighten(document, 10).fnIsDone());
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 1u);
    document.fnUndo();
    EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 1u) << "nothing is copied";
}

TEST_F(DarkroomDocument, AShareOfALargeMemoryIsNotTruncated) {
    EXPECT_EQ(darkroom::fnComputeLimit(1'000'000'000, 37), 370'000'000u);
    EXPECT_EQ(darkroom::fnComputeLimit(std::uint64_t{6} << 30, 50), 3'221'225'450u)
        << "the library's own rule wraps here";
    EXPECT_EQ(darkroom::fnComputeLimit(std::uint64_t{64} << 30, 50), 34'359'738'350u)
        << "more than 32 bits count";
    q32GetVMPolicy()->fnEnableMemUsage(true);
    q32GetVMPolicy()->fnSetMemUsage(1);
    darkroom::fnApplyMemoryShare();
    const std::uint64_t one = q32GetVMPolicy()->fnGetRamBound();
    q32GetVMPolicy()->fnSetMemUsage(2);
    darkroom::fnApplyMemoryShare();
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamBound(), 2 * one);
    EXPECT_GT(one, 0u);
    q32GetVMPolicy()->fnSetMemUsage(100);
    darkroom::fnApplyMemoryShare();
    EXPECT_GE(q32GetVMPolicy()->fnGetRamBound(), 100 * one) << "not cut to 4 GiB";
}

TEST_F(DarkroomDocument, TheClipboardAndDecodersTakeAShareOfTheMemory) {
    constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
    EXPECT_EQ(darkroom::fnLimitShared(200 * kMiB), 25 * kMiB);
    EXPECT_EQ(darkroom::fnLimitShared(512 * kMiB), 64 * kMiB);
    EXPECT_EQ(darkroom::fnLimitShared(64 * 1024 * kMiB), 64 * kMiB) << "16 million pixels";
    EXPECT_EQ(darkroom::fnLimitShared(0), 64 * kMiB) << "unknown";
    EXPECT_EQ(darkroom::fnLimitCodec(200 * kMiB, 1024 * kMiB), 50 * kMiB);
    EXPECT_EQ(darkroom::fnLimitCodec(64 * 1024 * kMiB, 1024 * kMiB), 1024 * kMiB);
    EXPECT_EQ(darkroom::fnLimitCodec(0, 1024 * kMiB), 1024 * kMiB) << "unknown";
}

TEST_F(DarkroomDocument, NotifiesItsListenerOfEachChange) {
    Document document(5);
    int notified = 0;
    document.fnSetListener([&] { ++notified; });
    const auto changes = [&](auto&& work) {
        notified = 0;
        work();
        return notified > 0;
    };
    EXPECT_TRUE(changes([&] { document.fnOpen(kPath, nullptr); }));
    EXPECT_TRUE(changes([&] { fnBrighten(document, 10); }));
    EXPECT_TRUE(changes([&] { document.fnUndo(); }));
    EXPECT_TRUE(changes([&] { document.fnRedo(); }));
    EXPECT_TRUE(changes([&] { document.fnSave("C:\\b.png", nullptr); }));
    EXPECT_TRUE(changes([&] { document.fnSetLevels(2); }));
    EXPECT_TRUE(changes([&] { document.fnSelectNone(); }));
    EXPECT_TRUE(changes([&] { document.fnNew(5, 5, CqColor(), nullptr); }));
}
