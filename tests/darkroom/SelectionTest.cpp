// Selections: how they combine, and which changes remove them.
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

using darkroom::Combine;
using darkroom::Document;
using darkroom::fnFindOperation;
using darkroom::Outcome;
using darkroom::ShapeKind;

namespace {

class DarkroomSelection : public AttachedTest {};

/// A plain bitmap of the selected pixels, row by row.
class Plain {
public:
    Plain(int width, int height)
        : m_nWidth(width), m_Pixels(static_cast<std::size_t>(width * height)) {}

    void fnTake(CqMask& mask, Combine how) {
        for (std::size_t i = 0; i < m_Pixels.size(); ++i) {
            const bool has = fnHas(mask, fnX(i), fnY(i));
            const bool had = m_Pixels[i] != 0;
            m_Pixels[i] = how == Combine::REPLACE ? has
                          : how == Combine::ADD   ? had || has
                                                  : had && !has;
        }
    }
    void fnExpect(Document& document) const {
        CRect bound(0, 0, 0, 0);
        for (std::size_t i = 0; i < m_Pixels.size(); ++i)
            if (m_Pixels[i])
                bound.UnionRect(bound, CRect(fnX(i), fnY(i), fnX(i) + 1, fnY(i) + 1));
        ASSERT_EQ(document.fnHasSelection(), !bound.IsRectEmpty());
        if (bound.IsRectEmpty())
            return;
        CqMask& selection = document.fnGetSelection();
        EXPECT_EQ(selection.m_rectBound, bound);
        for (std::size_t i = 0; i < m_Pixels.size(); ++i)
            ASSERT_EQ(fnHas(selection, fnX(i), fnY(i)), m_Pixels[i] != 0)
                << fnX(i) << ", " << fnY(i);
    }

private:
    int fnX(std::size_t i) const { return static_cast<int>(i) % m_nWidth; }
    int fnY(std::size_t i) const { return static_cast<int>(i) / m_nWidth; }

    int m_nWidth;
    std::vector<unsigned char> m_Pixels;
};

} // namespace

TEST_F(DarkroomSelection, SelectionsAreAddedAndSubtracted) {
    Document document(1);
    ASSERT_TRUE(document.fnNew(200, 150, CqColor(), nullptr).fnIsDone());
    const auto select = [&](CqPoint2D a, CqPoint2D b, Document::Combine how) {
        const std::vector<CqPoint2D> points = {a, b};
        ASSERT_TRUE(document.fnSelectShape(ShapeKind::RECTANGLE, points, how, nullptr).fnIsDone());
    };
    select({10, 10}, {60, 60}, Document::Combine::REPLACE);
    select({40, 40}, {100, 100}, Document::Combine::ADD);
    select({50, 50}, {55, 55}, Document::Combine::SUBTRACT);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x) {
            const bool first = x >= 10 && x < 60 && y >= 10 && y < 60;
            const bool second = x >= 40 && x < 100 && y >= 40 && y < 100;
            const bool off = x >= 50 && x < 55 && y >= 50 && y < 55;
            ASSERT_EQ(fnHas(document.fnGetSelection(), x, y), (first || second) && !off)
                << x << ", " << y;
        }
    select({0, 0}, {200, 150}, Document::Combine::SUBTRACT);
    EXPECT_FALSE(document.fnHasSelection());
}

TEST_F(DarkroomSelection, RandomShapesAndColorsCombinePixelByPixel) {
    constexpr int kWidth = 90;
    constexpr int kHeight = 70;
    Document document(1);
    fnOpenNoise(document, 24, kWidth, kHeight);
    Plain plain(kWidth, kHeight);
    std::mt19937 random(8);
    const auto draw = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<unsigned int>(high - low + 1));
    };
    int ended = 0;
    for (int round = 0; round < 400; ++round) {
        const Combine how = round % 40 == 0   ? Combine::REPLACE
                            : draw(0, 1) == 0 ? Combine::ADD
                                              : Combine::SUBTRACT;
        CqMask mask;
        Outcome outcome;
        if (draw(0, 3) == 0) {
            const CqColor color(static_cast<unsigned char>(draw(0, 255)),
                                static_cast<unsigned char>(draw(0, 255)),
                                static_cast<unsigned char>(draw(0, 255)), 255);
            const int tolerance = draw(0, 255);
            ASSERT_TRUE(
                darkroom::fnMakeColorMask(document.fnGetImage(), color, tolerance, mask, nullptr));
            outcome = document.fnSelectColor(color, tolerance, how, nullptr);
        } else {
            const auto shape = static_cast<ShapeKind>(draw(0, 2));
            std::vector<CqPoint2D> points;
            for (int i = shape == ShapeKind::FREEHAND ? draw(3, 9) : 2; i > 0; --i)
                points.emplace_back(draw(-20, kWidth + 20), draw(-20, kHeight + 20));
            ASSERT_TRUE(darkroom::fnMakeShapeMask(darkroom::fnMakeOutline(shape, points), kWidth,
                                                  kHeight, mask, nullptr));
            outcome = document.fnSelectShape(shape, points, how, nullptr);
        }
        ASSERT_TRUE(outcome.fnIsDone());
        plain.fnTake(mask, how);
        plain.fnExpect(document);
        ASSERT_FALSE(HasFailure()) << round;
        ended += document.fnHasSelection() ? 0 : 1;
    }
    EXPECT_LT(ended, 200) << "most rounds have something to combine with";
}

TEST_F(DarkroomSelection, AColorSubtractedFromARectangleLeavesItsOtherPixels) {
    Document document(1);
    ASSERT_TRUE(document.fnNew(40, 30, CqColor(9, 9, 9, 255), nullptr).fnIsDone());
    document.fnGetImage().fnSetPixelColor(15, 12, CqColor(200, 9, 9, 255));
    ASSERT_TRUE(fnSelect(document, CRect(10, 10, 20, 20)).fnIsDone());
    const CqColor red(200, 9, 9, 255);
    ASSERT_TRUE(document.fnSelectColor(red, 5, Combine::SUBTRACT, nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(10, 10, 20, 20));
    EXPECT_FALSE(fnHas(document.fnGetSelection(), 15, 12));
    EXPECT_TRUE(fnHas(document.fnGetSelection(), 14, 12));
    ASSERT_TRUE(document.fnSelectColor(red, 5, Combine::REPLACE, nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(15, 12, 16, 13));
    ASSERT_TRUE(fnSelect(document, CRect(2, 2, 5, 5), Combine::ADD).fnIsDone());
    EXPECT_TRUE(fnHas(document.fnGetSelection(), 3, 3));
    EXPECT_TRUE(fnHas(document.fnGetSelection(), 15, 12));
    EXPECT_FALSE(fnHas(document.fnGetSelection(), 10, 10));
}

TEST_F(DarkroomSelection, AnAbortedSelectionLeavesTheFormerOne) {
    Document document(1);
    fnOpenNoise(document, 24);
    const auto add = [&](CqProgressDisplay* progress) {
        return document.fnSelectColor(CqColor(100, 100, 100, 255), 60, Combine::ADD, progress);
    };
    ASSERT_TRUE(fnSelect(document, CRect(10, 10, 20, 20)).fnIsDone());
    AbortingProgress whole(100000);
    ASSERT_TRUE(add(&whole).fnIsDone());
    EXPECT_EQ(whole.m_nCalls, 3u * 170) << "each row is made, measured and written";
    for (unsigned int call = 1; call <= whole.m_nCalls; call += 7) {
        ASSERT_TRUE(fnSelect(document, CRect(10, 10, 20, 20)).fnIsDone());
        AbortingProgress progress(call);
        EXPECT_TRUE(add(&progress).m_bAborted) << call;
        EXPECT_EQ(progress.m_nCalls, call) << "nothing is done after it";
        EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(10, 10, 20, 20)) << call;
        EXPECT_TRUE(fnHas(document.fnGetSelection(), 10, 10)) << call;
    }
}

TEST_F(DarkroomSelection, SelectingWithoutMemoryLeavesTheSelection) {
    Document document(1);
    fnOpenNoise(document, 24);
    const auto prepare = [&] { ASSERT_TRUE(fnSelect(document, CRect(10, 10, 20, 20)).fnIsDone()); };
    const std::vector<CqPoint2D> corners = {{15, 5}, {60, 90}};
    const std::size_t failed = fnFailEachAllocation(prepare, [&](CqAllocationFailure& failure) {
        const Outcome outcome =
            document.fnSelectShape(ShapeKind::ELLIPSE, corners, Combine::ADD, nullptr);
        failure.fnEnd();
        EXPECT_TRUE(outcome.fnIsDone() || outcome.m_nMsgId == -1);
        EXPECT_EQ(document.fnGetSelection().m_rectBound,
                  outcome.fnIsDone() ? CRect(10, 5, 60, 90) : CRect(10, 10, 20, 20));
        EXPECT_TRUE(fnHas(document.fnGetSelection(), 10, 10));
    });
    EXPECT_GT(failed, 5u);
}

TEST_F(DarkroomSelection, ThereIsNoneAtDepthsWhereEditsCannotBeLimitedToIt) {
    for (const unsigned int bits : {4u, 16u}) {
        Document document(1);
        fnOpenNoise(document, bits);
        const std::uint32_t serial = document.fnGetSelectionSerial();
        EXPECT_TRUE(fnSelect(document, CRect(10, 10, 20, 20)).m_bAborted) << bits;
        EXPECT_TRUE(document.fnSelectColor(CqColor(), 255, Combine::REPLACE, nullptr).m_bAborted)
            << bits;
        CqMask mask(300, 170);
        EXPECT_TRUE(document.fnSelect(mask, Combine::REPLACE, nullptr).m_bAborted) << bits;
        EXPECT_FALSE(document.fnHasSelection()) << bits;
        EXPECT_EQ(document.fnGetSelectionSerial(), serial) << bits;
    }
    Document empty(1);
    EXPECT_TRUE(fnSelect(empty, CRect(10, 10, 20, 20)).m_bAborted);
    EXPECT_TRUE(empty.fnSelectColor(CqColor(), 255, Combine::REPLACE, nullptr).m_bAborted);
}

TEST_F(DarkroomSelection, EndsWithEachChangeThatMovesPixelsAndStaysWithOthers) {
    const std::pair<const char*, bool> changes[] = {
        {"half", true},   {"right", true},       {"left", true},    {"to32", true},
        {"resize", true}, {"brightness", false}, {"soften", false},
    };
    for (const auto& [id, moves] : changes) {
        Document document(3);
        fnOpenNoise(document, 24, 100, 100); // rotated, it has the same size
        const CRect rect(10, 20, 30, 50);
        const darkroom::Operation& operation = *fnFindOperation(id);
        darkroom::Values values = operation.fnGetStart(document.fnGetImage());
        if (!values.empty())
            values[0] = 30;
        ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
        ASSERT_TRUE(document.fnApply(operation, values, nullptr).fnIsDone());
        EXPECT_NE(document.fnHasSelection(), moves) << id;
        if (document.fnCanSelect()) {
            ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
        }
        document.fnUndo();
        EXPECT_NE(document.fnHasSelection(), moves) << id << " undone";
        ASSERT_TRUE(fnSelect(document, rect).fnIsDone());
        document.fnRedo();
        EXPECT_NE(document.fnHasSelection(), moves) << id << " done again";
    }
}

TEST_F(DarkroomSelection, EndsWithAStepThroughAChangeOfSizeInEitherDirection) {
    const auto brighten = [](Document& document) {
        return document.fnApply(*fnFindOperation("brightness"), {20, 0}, nullptr);
    };
    Document document(5);
    ASSERT_TRUE(document.fnNew(100, 100, CqColor(90, 90, 90, 255), nullptr).fnIsDone());
    ASSERT_TRUE(brighten(document).fnIsDone());
    document.fnUndo();
    ASSERT_TRUE(document.fnApply(*fnFindOperation("resize"), {200, 200, 1}, nullptr).fnIsDone());
    EXPECT_FALSE(document.fnCanRedo()) << "it would lead to another picture";
    EXPECT_TRUE(brighten(document).fnIsDone());
    document.fnUndo();
    for (const bool back : {true, false, true}) {
        ASSERT_TRUE(fnSelect(document, CRect(10, 10, 30, 30)).fnIsDone());
        back ? document.fnUndo() : document.fnRedo();
        EXPECT_EQ(document.fnGetImage().Width, back ? 100u : 200u);
        EXPECT_FALSE(document.fnHasSelection()) << back;
    }
}

TEST_F(DarkroomSelection, UndoAndRedoOfChangesInPlaceKeepTheSelection) {
    Document document(5);
    const auto fill = [&](int color) {
        return document.fnApply(darkroom::fnGetFillOperation(), {color}, nullptr);
    };
    ASSERT_NO_FATAL_FAILURE(fnOpenNoise(document, 24));
    ASSERT_TRUE(fnSelect(document, CRect(10, 10, 30, 30)).fnIsDone());
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(fill(0x030201).fnIsDone());
    for (int i = 0; i < 3; ++i)
        document.fnUndo();
    document.fnRedo();
    ASSERT_TRUE(fill(0x060504).fnIsDone());
    document.fnUndo();
    document.fnUndo();
    document.fnRedo();
    EXPECT_TRUE(document.fnHasSelection());
    EXPECT_FALSE(document.fnGetRedoName().empty());
}
