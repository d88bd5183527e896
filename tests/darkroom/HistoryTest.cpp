// What the steps of the history hold, and what happens when there is no room for them.
#include "examples/darkroom/model/Bands.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <cstdlib>

using darkroom::Combine;
using darkroom::Document;
using darkroom::fnFindOperation;
using darkroom::Outcome;

namespace {

CqColor fnRed() {
    return CqColor(255, 0, 0, 255);
}

class DarkroomHistory : public AttachedTest {
protected:
    static Outcome fnBrighten(Document& document, int by = 5) {
        return document.fnApply(*fnFindOperation("brightness"), {by, 0}, nullptr);
    }
    static Outcome fnDraw(Document& document, const std::vector<CqPoint2D>& points) {
        return document.fnDraw(points, fnRed(), nullptr);
    }
    /// Points inside the picture and around it, sometimes far away.
    static std::vector<CqPoint2D> fnMakePoints(std::mt19937& random, std::size_t count,
                                               const CqImage& image) {
        std::vector<CqPoint2D> points;
        const auto draw = [&](unsigned int length) {
            const double place = static_cast<double>(random() % 30000) / 10000 - 1;
            return place * length * (random() % 8 == 0 ? 100 : 1);
        };
        for (std::size_t i = 0; i < count; ++i)
            points.emplace_back(draw(image.Width), draw(image.Height));
        return points;
    }
    /// All pixels that differ lie in one of the rectangles.
    static void fnExpectInside(const CqImage& image, const Bytes& before, const Bytes& after,
                               const std::vector<CRect>& parts) {
        for (std::size_t i = 0; i < before.size(); ++i) {
            if (before[i] == after[i])
                continue;
            const CPoint place(static_cast<LONG>(i / image.BytesPerPixel % image.Width),
                               static_cast<LONG>(i / image.BytesPerPixel / image.Width));
            ASSERT_TRUE(std::any_of(parts.begin(), parts.end(),
                                    [&](const CRect& part) { return part.PtInRect(place); }))
                << place.x << ", " << place.y;
        }
    }
};

} // namespace

TEST_F(DarkroomHistory, LinesAndCurvesAreUndoneAndRedoneExactlyWhereverTheyGo) {
    std::mt19937 random(3);
    for (const CSize& size : {CSize(700, 520), CSize(129, 40), CSize(60, 50), CSize(300, 1000)})
        for (const unsigned int bits : {24u, 32u})
            for (int round = 0; round < 10; ++round) {
                Document document(3);
                ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, bits,
                                                    static_cast<unsigned int>(size.cx),
                                                    static_cast<unsigned int>(size.cy)));
                CqImage& image = document.fnGetImage();
                const std::uint32_t state = document.fnGetState();
                const Bytes before = fnBytesOf(image);
                CqImage drawn;
                ASSERT_TRUE(darkroom::fnCopyPicture(image, drawn, nullptr));
                const auto points = fnMakePoints(random, round % 2 ? 2 : 4, image);
                darkroom::fnDrawPath(drawn, points, fnRed());
                ASSERT_TRUE(fnDraw(document, points).fnIsDone());
                const Bytes after = fnBytesOf(image);
                ASSERT_TRUE(after == fnBytesOf(drawn));
                if (const auto parts = document.fnFindChanges(state)) {
                    ASSERT_NO_FATAL_FAILURE(fnExpectInside(image, before, after, *parts));
                }
                document.fnUndo();
                ASSERT_TRUE(fnBytesOf(image) == before) << round;
                document.fnRedo();
                ASSERT_TRUE(fnBytesOf(image) == after) << round;
            }
}

TEST_F(DarkroomHistory, AStepHoldsOnlyTheTilesThatItsChangeTouches) {
    constexpr std::uint32_t kTile = 128 * 128 * 3;
    q32GetVMPolicy()->fnSetRamLimit(100'000'000);
    Document document(9);
    ASSERT_TRUE(document.fnNew(1280, 1280, CqColor(9, 9, 9, 255), nullptr).fnIsDone());
    const auto cost = [&](auto&& change) {
        const std::uint32_t before = q32GetVMPolicy()->fnGetRamUsed();
        EXPECT_TRUE(change().fnIsDone());
        return q32GetVMPolicy()->fnGetRamUsed() - before;
    };
    EXPECT_EQ(cost([&] { return fnDraw(document, {{20, 20}, {90, 60}}); }), kTile);
    EXPECT_EQ(cost([&] { return fnDraw(document, {{100, 20}, {160, 60}}); }), 2 * kTile);
    EXPECT_LE(cost([&] {
                  return fnDraw(document, {{0, 0}, {1279, 1279}});
              }),
              28 * kTile)
        << "a diagonal of ten tiles and their neighbours";
    EXPECT_EQ(cost([&] { return fnDraw(document, {{-90, 20}, {-10, 60}}); }), 0u) << "outside";
    ASSERT_TRUE(fnSelect(document, CRect(130, 130, 300, 200)).fnIsDone());
    EXPECT_EQ(cost([&] { return fnBrighten(document); }), 2 * kTile);
    EXPECT_EQ(cost([&] { return fnDraw(document, {{20, 20}, {90, 60}}); }), kTile);
    document.fnSelectNone();
    EXPECT_GT(cost([&] { return fnBrighten(document); }), 99 * kTile) << "everything changes";
}

TEST_F(DarkroomHistory, ChangedPartsAreKnownBothWaysAndOnlyForOneStep) {
    Document document(9);
    ASSERT_TRUE(document.fnNew(400, 300, CqColor(), nullptr).fnIsDone());
    const std::uint32_t first = document.fnGetState();
    EXPECT_TRUE(document.fnFindChanges(first)->empty());
    ASSERT_TRUE(fnDraw(document, {{10, 10}, {60, 20}}).fnIsDone());
    const std::uint32_t second = document.fnGetState();
    EXPECT_EQ(document.fnFindChanges(first), std::vector<CRect>{CRect(0, 0, 128, 128)});
    document.fnUndo();
    EXPECT_EQ(document.fnFindChanges(second), std::vector<CRect>{CRect(0, 0, 128, 128)});
    document.fnRedo();
    ASSERT_TRUE(fnDraw(document, {{300, 200}, {380, 290}}).fnIsDone());
    EXPECT_EQ(document.fnFindChanges(first), std::nullopt) << "two steps away";
    EXPECT_EQ(document.fnFindChanges(second)->size(), 2u);
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    EXPECT_EQ(document.fnFindChanges(second + 1), std::nullopt) << "everywhere";
}

TEST_F(DarkroomHistory, MixedStepsAreUndoneAndRedoneExactly) {
    Document document(20);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 400, 350));
    std::mt19937 random(5);
    std::vector<Bytes> states = {fnBytesOf(document.fnGetImage())};
    for (int i = 0; i < 12; ++i) {
        if (i % 3 == 0) {
            ASSERT_TRUE(fnSelect(document, CRect(20 * i, 10, 90 + 20 * i, 300)).fnIsDone());
        }
        const Outcome outcome =
            i % 4 == 1   ? document.fnApply(*fnFindOperation("half"), {}, nullptr)
            : i % 4 == 2 ? document.fnApply(*fnFindOperation("soften"), {70}, nullptr)
                         : fnDraw(document, fnMakePoints(random, 2, document.fnGetImage()));
        ASSERT_TRUE(outcome.fnIsDone());
        states.push_back(fnBytesOf(document.fnGetImage()));
    }
    std::size_t at = 12;
    for (const int steps : {-12, 5, -3, 10, -1, -7, 2}) {
        for (int i = 0; i < std::abs(steps); ++i) {
            steps < 0 ? document.fnUndo() : document.fnRedo();
            at = steps < 0 ? at - 1 : at + 1;
            ASSERT_TRUE(fnBytesOf(document.fnGetImage()) == states[at]) << at;
        }
    }
}

TEST_F(DarkroomHistory, ANewChangeForgetsWhatCouldBeRedone) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    document.fnUndo();
    document.fnUndo();
    AbortingProgress abort(1);
    EXPECT_TRUE(document.fnApply(*fnFindOperation("soften"), {50}, &abort).m_bAborted);
    EXPECT_TRUE(document.fnCanRedo()) << "nothing has changed";
    ASSERT_TRUE(fnDraw(document, {{1, 1}, {9, 9}}).fnIsDone());
    EXPECT_FALSE(document.fnCanRedo());
    document.fnUndo();
    EXPECT_FALSE(document.fnCanUndo());
    EXPECT_EQ(document.fnGetRedoName(), "Line");
    EXPECT_EQ(document.IsModified(), 0);
}

TEST_F(DarkroomHistory, TheOldestStepsMakeRoomForANewOne) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 300, 200));
    const std::uint32_t picture = q32GetVMPolicy()->fnGetRamUsed();
    q32GetVMPolicy()->fnEnableDisk(0, false);
    q32GetVMPolicy()->fnSetRamLimit(4 * std::uint64_t{picture});
    std::vector<Bytes> states;
    for (int i = 0; i < 6; ++i) {
        states.push_back(fnBytesOf(document.fnGetImage()));
        ASSERT_TRUE(fnBrighten(document, i % 2 ? 9 : -7).fnIsDone()) << i;
        EXPECT_EQ(document.fnTakeDropped(), i < 3 ? 0u : 1u) << i;
    }
    for (int i = 5; i > 2; --i) {
        ASSERT_TRUE(document.fnCanUndo());
        document.fnUndo();
        EXPECT_TRUE(fnBytesOf(document.fnGetImage()) == states[static_cast<std::size_t>(i)]);
    }
    EXPECT_FALSE(document.fnCanUndo()) << "the others made room";
    EXPECT_EQ(document.IsModified(), 1);
    // What can be redone goes first, the last of it first.
    ASSERT_TRUE(fnSelect(document, CRect(0, 0, 300, 200)).fnIsDone());
    EXPECT_EQ(document.fnTakeDropped(), 1u);
    document.fnRedo();
    document.fnRedo();
    EXPECT_FALSE(document.fnCanRedo());
}

TEST_F(DarkroomHistory, WhatIsTooLargeEvenWithoutHistoryFailsAndLeavesThePicture) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 300, 200));
    q32GetVMPolicy()->fnEnableDisk(0, false);
    q32GetVMPolicy()->fnSetRamLimit(4 * std::uint64_t{q32GetVMPolicy()->fnGetRamUsed()});
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    const Bytes before = fnBytesOf(document.fnGetImage());
    EXPECT_EQ(document.fnApply(*fnFindOperation("resize"), {1200, 800, 1}, nullptr).m_nMsgId, -1);
    EXPECT_TRUE(fnBytesOf(document.fnGetImage()) == before);
    EXPECT_EQ(document.fnTakeDropped(), 1u) << "it was tried";
    EXPECT_TRUE(fnDraw(document, {{1, 1}, {9, 9}}).fnIsDone()) << "editing goes on";
}

TEST_F(DarkroomHistory, SelectionsMakeRoomBeforeStepsDo) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 300, 200));
    const std::uint32_t picture = q32GetVMPolicy()->fnGetRamUsed();
    q32GetVMPolicy()->fnEnableDisk(0, false);
    q32GetVMPolicy()->fnSetRamLimit(4 * std::uint64_t{picture});
    const auto select = [&](int inset) {
        return fnSelect(document, CRect(inset, inset, 300 - inset, 200 - inset));
    };
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    for (int i = 0; i < 12; ++i) // each takes a third of a picture
        ASSERT_TRUE(select(i).fnIsDone()) << i;
    const unsigned int dropped = document.fnTakeDropped();
    EXPECT_GT(dropped, 0u);
    EXPECT_TRUE(document.fnCanUndo()) << "steps of the picture come last";
    unsigned int left = 0;
    for (; document.fnCanUndoSelection(); ++left)
        document.fnUndoSelection();
    EXPECT_EQ(left, 12 - dropped) << "the newest stay";
    EXPECT_TRUE(document.fnHasSelection()) << "the oldest, with nothing selected, is gone";
    // Undone ones go next, the farthest first, and only then the step.
    while (document.fnCanRedoSelection())
        document.fnRedoSelection();
    for (int i = 0; i < 2; ++i)
        document.fnUndoSelection();
    document.fnSelectNone();
    EXPECT_FALSE(document.fnCanRedoSelection());
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    EXPECT_TRUE(document.fnCanUndo());
}

TEST_F(DarkroomHistory, UndoneSelectionsMakeRoomBeforeFormerOnesTheFarthestFirst) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 300, 200));
    for (int i = 0; i < 6; ++i)
        ASSERT_TRUE(fnSelect(document, CRect(i, i, 300 - i, 200 - i)).fnIsDone());
    for (int i = 0; i < 3; ++i)
        document.fnUndoSelection();
    // Room for the copy, if two masks give way, of about 55,000 bytes each.
    constexpr std::uint64_t kCopy = std::uint64_t{296} * 196 * 3;
    q32GetVMPolicy()->fnEnableDisk(0, false);
    q32GetVMPolicy()->fnSetRamLimit(q32GetVMPolicy()->fnGetRamUsed() + kCopy - 80'000);
    CqImage copy;
    ASSERT_TRUE(document.fnCopy(copy, nullptr).fnIsDone());
    EXPECT_EQ(document.fnTakeDropped(), 2u);
    document.fnRedoSelection();
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(3, 3, 297, 197)) << "the next one";
    EXPECT_FALSE(document.fnCanRedoSelection());
    for (int i = 2; i >= 0; --i) {
        document.fnUndoSelection();
        EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(i, i, 300 - i, 200 - i));
    }
}

TEST_F(DarkroomHistory, AnAbortedUndoOrRedoLeavesThePictureAndTheHistoryAsTheyWere) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24, 1280, 900));
    const Bytes before = fnBytesOf(document.fnGetImage());
    ASSERT_TRUE(fnSelect(document, CRect(0, 0, 1280, 600)).fnIsDone());
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    const Bytes after = fnBytesOf(document.fnGetImage());
    const std::uint32_t state = document.fnGetState();
    EXPECT_EQ(document.fnGetTravelBytes(true), 50u * 128 * 128 * 3);
    for (const bool back : {true, false}) {
        unsigned int at = 1;
        for (;; ++at) {
            AbortingProgress abort(at);
            const Outcome outcome = back ? document.fnUndo(&abort) : document.fnRedo(&abort);
            if (outcome.fnIsDone())
                break;
            ASSERT_TRUE(outcome.m_bAborted);
            ASSERT_EQ(document.fnGetState(), back ? state : state - 1);
            ASSERT_EQ(document.fnCanUndo(), back);
            ASSERT_EQ(document.fnCanRedo(), !back);
            ASSERT_TRUE(fnBytesOf(document.fnGetImage()) == (back ? after : before)) << at;
        }
        EXPECT_GE(at, 4u) << "looks at the keyboard now and then";
        ASSERT_TRUE(fnBytesOf(document.fnGetImage()) == (back ? before : after));
    }
}

TEST_F(DarkroomHistory, SelectionsAreUndoneAndRedoneUntilThePictureChanges) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
    const auto bound = [&] {
        return document.fnHasSelection() ? document.fnGetSelection().m_rectBound
                                         : CRect(0, 0, 0, 0);
    };
    EXPECT_FALSE(document.fnCanUndoSelection());
    ASSERT_TRUE(fnSelect(document, CRect(10, 10, 30, 40)).fnIsDone());
    ASSERT_TRUE(fnSelect(document, CRect(50, 60, 70, 80), Combine::ADD).fnIsDone());
    document.fnSelectNone();
    document.fnUndoSelection();
    EXPECT_EQ(bound(), CRect(10, 10, 70, 80));
    EXPECT_FALSE(fnHas(document.fnGetSelection(), 40, 50));
    document.fnUndoSelection();
    EXPECT_EQ(bound(), CRect(10, 10, 30, 40));
    document.fnUndoSelection();
    EXPECT_FALSE(document.fnHasSelection());
    EXPECT_FALSE(document.fnCanUndoSelection());
    document.fnRedoSelection();
    document.fnRedoSelection();
    EXPECT_EQ(bound(), CRect(10, 10, 70, 80));
    document.fnRedoSelection();
    EXPECT_FALSE(document.fnHasSelection());
    EXPECT_FALSE(document.fnCanRedoSelection());
    document.fnUndoSelection();
    ASSERT_TRUE(fnBrighten(document).fnIsDone());
    EXPECT_FALSE(document.fnCanUndoSelection()) << "undoing the change comes first";
    EXPECT_FALSE(document.fnCanRedoSelection());
    EXPECT_EQ(bound(), CRect(10, 10, 70, 80));
    EXPECT_EQ(document.fnGetUndoName(), "Brightness and Contrast");
}

TEST_F(DarkroomHistory, AllIsSelectedAndASelectionIsInvertedPixelByPixel) {
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
    ASSERT_TRUE(document.fnSelectAll(nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(0, 0, 300, 170));
    EXPECT_TRUE(fnHas(document.fnGetSelection(), 299, 169));
    ASSERT_TRUE(document.fnInvertSelection(nullptr).fnIsDone());
    EXPECT_FALSE(document.fnHasSelection());
    ASSERT_TRUE(fnSelect(document, CRect(0, 0, 40, 170)).fnIsDone());
    ASSERT_TRUE(fnSelect(document, CRect(100, 20, 110, 60), Combine::ADD).fnIsDone());
    CqMask before(document.fnGetSelection());
    ASSERT_TRUE(document.fnInvertSelection(nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(40, 0, 300, 170));
    for (int y = 0; y < 170; ++y)
        for (int x = 0; x < 300; ++x)
            ASSERT_NE(fnHas(document.fnGetSelection(), x, y), fnHas(before, x, y)) << x << " " << y;
}

TEST_F(DarkroomHistory, ASelectionIsMovedAndScaledAndCutAtThePicturesEdges) {
    const CRect places[] = {CRect(30, 40, 50, 60),     CRect(-10, -5, 10, 15),
                            CRect(10, 20, 60, 100),    CRect(280, 150, 320, 190),
                            CRect(-90, -70, 500, 400), CRect(12, 22, 17, 25)};
    for (const CRect& place : places) {
        Document document(9);
        ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
        const std::vector<CqPoint2D> corners = {{10, 20}, {30, 40}};
        ASSERT_TRUE(
            document.fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners, Combine::REPLACE, nullptr)
                .fnIsDone());
        CqMask before(document.fnGetSelection());
        const CRect bound = before.m_rectBound;
        ASSERT_TRUE(document.fnPlaceSelection(place, nullptr).fnIsDone());
        for (int y = 0; y < 170; ++y)
            for (int x = 0; x < 300; ++x) {
                // The centre of the pixel, back in the former rectangle.
                const int fromX =
                    bound.left + (2 * (x - place.left) + 1) * bound.Width() / (2 * place.Width());
                const int fromY =
                    bound.top + (2 * (y - place.top) + 1) * bound.Height() / (2 * place.Height());
                const bool expected = place.PtInRect(CPoint(x, y)) && fnHas(before, fromX, fromY);
                ASSERT_EQ(fnHas(document.fnGetSelection(), x, y), expected) << x << ", " << y;
            }
        document.fnUndoSelection();
        EXPECT_EQ(document.fnGetSelection().m_rectBound, bound);
    }
    Document document(9);
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
    ASSERT_TRUE(document.fnPlaceSelection(CRect(-5, 7, 20, 30), nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(0, 7, 20, 30)) << "typed in";
    ASSERT_TRUE(document.fnPlaceSelection(CRect(400, 7, 420, 30), nullptr).fnIsDone());
    EXPECT_FALSE(document.fnHasSelection()) << "outside";
}
