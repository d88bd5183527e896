// Edits limited to a selection.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Merge.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>

using darkroom::Combine;
using darkroom::Document;
using darkroom::fnFindOperation;
using darkroom::ShapeKind;

namespace {

class DarkroomSelectedEdits : public AttachedTest {};

} // namespace

TEST_F(DarkroomSelectedEdits, AFilterInsideItReadsThePicturesSurroundingPixels) {
    for (const CRect& rect : {CRect(40, 30, 120, 90), CRect(-5, -5, 60, 40),
                              CRect(250, 100, 300, 170), CRect(70, 0, 71, 170)}) {
        Document document(1);
        fnOpenNoise(document, 24);
        const Bytes before = fnBytesOf(document.fnGetImage());
        CqImage whole;
        fnFillNoise(whole, 300, 170, 24, 24);
        fnFindOperation("soften")->m_pRun(whole, darkroom::Values{80}, nullptr);
        const Bytes all = fnBytesOf(whole);
        ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
        ASSERT_TRUE(document.fnApply(*fnFindOperation("soften"), {80}, nullptr).fnIsDone());
        const Bytes got = fnBytesOf(document.fnGetImage());
        for (std::size_t i = 0; i < got.size(); ++i) {
            const CPoint place(static_cast<int>(i / 3 % 300), static_cast<int>(i / 3 / 300));
            ASSERT_EQ(got[i], rect.PtInRect(place) ? all[i] : before[i])
                << place.x << ", " << place.y;
        }
    }
}

TEST_F(DarkroomSelectedEdits, AnAbortedEditInsideTheSelectionLeavesPictureAndSelection) {
    Document document(5);
    fnOpenNoise(document, 24);
    ASSERT_TRUE(fnSelect(document, CRect(20, 30, 250, 140)).fnIsDone());
    const Bytes before = fnBytesOf(document.fnGetImage());
    AbortingProgress whole(100000);
    ASSERT_TRUE(document.fnApply(*fnFindOperation("threshold"), {128}, &whole).fnIsDone());
    document.fnUndo();
    for (unsigned int call = 1; call <= whole.m_nCalls; ++call) {
        AbortingProgress progress(call);
        EXPECT_TRUE(document.fnApply(*fnFindOperation("threshold"), {128}, &progress).m_bAborted)
            << call;
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before) << call;
        EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(20, 30, 250, 140)) << call;
    }
}

TEST_F(DarkroomSelectedEdits, ALocalOperationStaysInsideTheSelection) {
    Document document(5);
    fnOpenNoise(document, 24);
    ASSERT_TRUE(fnSelect(document, CRect(20, 30, 250, 140)).fnIsDone());
    CqImage whole;
    fnFillNoise(whole, 300, 170, 24, 24);
    const Bytes before = fnBytesOf(whole);
    whole.fnThresholding(128, false, nullptr);
    const Bytes all = fnBytesOf(whole);
    ASSERT_TRUE(document.fnApply(*fnFindOperation("threshold"), {128}, nullptr).fnIsDone());
    const Bytes got = fnBytesOf(document.fnGetImage());
    for (std::size_t i = 0; i < got.size(); ++i) {
        const std::size_t x = i / 3 % 300;
        const std::size_t y = i / 3 / 300;
        const bool inside = x >= 20 && x < 250 && y >= 30 && y < 140;
        ASSERT_EQ(got[i], inside ? all[i] : before[i]) << x << ", " << y;
    }
    EXPECT_TRUE(document.fnHasSelection());
    ASSERT_TRUE(document.fnApply(*fnFindOperation("right"), {}, nullptr).fnIsDone());
    EXPECT_FALSE(document.fnHasSelection()) << "it doesn't fit any more";
}

TEST_F(DarkroomSelectedEdits, AMergeBySelectionStaysInsideIt) {
    Document document(5);
    fnOpenNoise(document, 24);
    const Bytes before = fnBytesOf(document.fnGetImage());
    ASSERT_TRUE(fnSelect(document, CRect(50, 40, 90, 70)).fnIsDone());
    CqImage over;
    fnFillNoise(over, 100, 100, 24, 2);
    const Bytes laid = fnBytesOf(over);
    darkroom::fnMergePicture(document.fnGetImage(), over,
                             {darkroom::MergeRule::SELECTION, CqColor(), 60, -10},
                             &document.fnGetSelection(), nullptr);
    const Bytes got = fnBytesOf(document.fnGetImage());
    for (std::size_t i = 0; i < got.size(); ++i) {
        const std::size_t x = i / 3 % 300;
        const std::size_t y = i / 3 / 300;
        const bool inside = x >= 60 && x < 90 && y >= 40 && y < 70;
        ASSERT_EQ(got[i], inside ? laid[((y + 10) * 100 + x - 60) * 3 + i % 3] : before[i])
            << x << ", " << y;
    }
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(50, 40, 90, 70));
}

TEST_F(DarkroomSelectedEdits, ACropKeepsTheRectangleOfTheSelection) {
    for (const CRect& rect : {CRect(7, 20, 60, 690), CRect(0, 0, 1, 1), CRect(69, 0, 70, 700),
                              CRect(0, 699, 70, 700), CRect(0, 1, 70, 700)}) {
        Document document(2);
        fnOpenNoise(document, 24, 70, 700);
        document.fnGetImage().DpiX = 300;
        const Bytes before = fnBytesOf(document.fnGetImage());
        ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
        ASSERT_TRUE(document.fnCrop(nullptr).fnIsDone());
        CqImage& image = document.fnGetImage();
        ASSERT_EQ(CSize(static_cast<int>(image.Width), static_cast<int>(image.Height)),
                  rect.Size());
        Bytes expected;
        for (LONG y = rect.top; y < rect.bottom; ++y)
            expected.insert(expected.end(), before.begin() + (y * 70 + rect.left) * 3,
                            before.begin() + (y * 70 + rect.right) * 3);
        EXPECT_EQ(fnBytesOf(image), expected);
        EXPECT_EQ(image.DpiX, 300);
        EXPECT_FALSE(document.fnHasSelection()) << "it would lie on other pixels";
        EXPECT_EQ(document.fnGetUndoName(), "Crop to Selection");
        document.fnUndo();
        EXPECT_EQ(fnBytesOf(image), before);
        EXPECT_EQ(image.Width, 70u);
        document.fnRedo();
        EXPECT_EQ(fnBytesOf(image), expected);
    }
}

TEST_F(DarkroomSelectedEdits,
       ACropWithoutASelectionIsRefusedAndOneToAllOfThePictureChangesNothing) {
    Document document(2);
    EXPECT_TRUE(document.fnCrop(nullptr).m_bAborted) << "no picture";
    fnOpenNoise(document, 24);
    EXPECT_TRUE(document.fnCrop(nullptr).m_bAborted);
    ASSERT_TRUE(fnSelect(document, CRect(0, 0, 300, 170)).fnIsDone());
    EXPECT_TRUE(document.fnCrop(nullptr).fnIsDone());
    EXPECT_FALSE(document.fnCanUndo());
    EXPECT_TRUE(document.fnHasSelection());
    EXPECT_EQ(document.fnGetImage().Width, 300u);
}

TEST_F(DarkroomSelectedEdits, ACropThatIsAbortedOrFailsLeavesThePictureAndItsSelection) {
    Document document(2);
    fnOpenNoise(document, 24, 70, 700);
    const Bytes before = fnBytesOf(document.fnGetImage());
    const CRect rect(7, 20, 60, 690);
    ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
    const auto expectKept = [&] {
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
        ASSERT_TRUE(document.fnHasSelection());
        EXPECT_EQ(document.fnGetSelection().m_rectBound, rect);
        EXPECT_FALSE(document.fnCanUndo());
        EXPECT_EQ(document.IsModified(), 0);
    };
    AbortingProgress whole(100000);
    {
        Document other(1);
        fnOpenNoise(other, 24, 70, 700);
        ASSERT_TRUE(fnSelect(other, rect).fnIsDone());
        ASSERT_TRUE(other.fnCrop(&whole).fnIsDone());
    }
    ASSERT_GE(whole.m_nCalls, 4u) << "the snapshot, and 670 rows in three bands";
    for (unsigned int call = 1; call <= whole.m_nCalls; ++call) {
        AbortingProgress progress(call);
        EXPECT_TRUE(document.fnCrop(&progress).m_bAborted) << call;
        expectKept();
    }
    q32GetVMPolicy()->fnSetRamLimit(0);
    q32GetVMPolicy()->fnEnableDisk(0, false);
    EXPECT_EQ(document.fnCrop(nullptr).m_nMsgId, -1);
    q32GetVMPolicy()->fnSetRamLimit(100'000'000);
    expectKept();
}

TEST_F(DarkroomSelectedEdits, LinesAndCurvesAreClippedToTheSelection) {
    const CqColor red(255, 0, 0, 255);
    const std::vector<CqPoint2D> paths[] = {
        {{-40.3, -20.6}, {290.4, 160.2}},
        {{250.7, 3.3}, {7.9, 140.5}},
        {{10, 160}, {60, -190}, {200, 300}, {290, 12}},
        {{-30.5, 60.5}, {100, 20}, {150, 160}, {330, 90}},
    };
    for (const auto& path : paths)
        for (const bool selected : {true, false}) {
            Document document(2);
            ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
            CqImage drawn;
            ASSERT_TRUE(darkroom::fnCopyPicture(document.fnGetImage(), drawn, nullptr));
            darkroom::fnDrawPath(drawn, path, red);
            const std::vector<CqPoint2D> corners = {{70, 40}, {231, 133}};
            if (selected) {
                ASSERT_TRUE(
                    document.fnSelectShape(ShapeKind::ELLIPSE, corners, Combine::REPLACE, nullptr)
                        .fnIsDone());
            }
            Bytes expected = fnBytesOf(document.fnGetImage());
            const Bytes all = fnBytesOf(drawn);
            int kept = 0;
            for (int y = 0; y < 170; ++y)
                for (int x = 0; x < 300; ++x) {
                    const auto at = static_cast<std::size_t>((y * 300 + x) * 3);
                    if (selected && !fnHas(document.fnGetSelection(), x, y))
                        continue;
                    kept += !std::equal(&expected[at], &expected[at] + 3, &all[at]);
                    std::copy_n(&all[at], 3, &expected[at]);
                }
            EXPECT_GT(kept, 30) << "some of it is inside";
            EXPECT_EQ(expected != all, selected) << "and some is not";
            ASSERT_TRUE(document.fnDraw(path, red, nullptr).fnIsDone());
            EXPECT_TRUE(fnBytesOf(document.fnGetImage()) == expected) << path.size() << selected;
            EXPECT_EQ(document.fnGetUndoName(), path.size() == 2 ? "Line" : "Curve");
            EXPECT_EQ(document.fnHasSelection(), selected);
        }
}
