// Fills with colours and patterns, and block copies.
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"

namespace {

const CRect kInner(40, 30, 350, 250);

/// A frame of one colour, and bars of the eight corners of the colour cube.
void fnPaint(CqImage& image) {
    const CRect frame[] = {
        {0, 0, 400, 15}, {0, 285, 400, 300}, {0, 15, 15, 285}, {385, 15, 400, 285}};
    for (const CRect& side : frame)
        image.fnFill(CqColor(250, 244, 230, 255), &side, false);
    for (int i = 0; i < 8; ++i) {
        const CRect bar(40 + 40 * i, 215, 80 + 40 * i, 265);
        const CqColor color(static_cast<unsigned char>(i & 4 ? 255 : 0),
                            static_cast<unsigned char>(i & 2 ? 255 : 0),
                            static_cast<unsigned char>(i & 1 ? 255 : 0), 255);
        image.fnFill(color, &bar, false);
    }
}

/// The pattern: the second photograph at a fifth of its size.
void fnTile(Easel& easel, const CRect* part, const CRect* place) {
    CqImage pattern;
    pattern = easel.m_Scenes.m_Second;
    pattern.fnResample(80, 60, true, nullptr);
    easel.m_Picture.fnFill(pattern, part, place);
}

/// Twelve pieces in reverse order.
void fnSwapPieces(CqImage& image) {
    CqImage whole;
    whole = image;
    for (int i = 0; i < 12; ++i) {
        const CRect piece(CPoint(i % 4 * 100, i / 4 * 100), CSize(100, 100));
        image.fnCopyBlock(whole, &piece, (11 - i) % 4 * 100, (11 - i) / 4 * 100);
    }
}

constexpr Step kColors[] = {
    kBefore,
    {"24 bits", [](Easel& easel) { fnPaint(easel.m_Picture); }},
    {"16 bits: colours keep five, six and five bits",
     [](Easel& easel) {
         fnToHiColor(easel.m_Picture);
         fnPaint(easel.m_Picture);
     }},
    {"8 bits, 216 colours: the palette holds all bars, but not the cream of the frame, which is "
     "painted as its entry 0, black",
     [](Easel& easel) {
         fnToIndexed(easel.m_Picture);
         fnPaint(easel.m_Picture);
     }},
    {"8 bits, grey: no bar but black and white is in the palette",
     [](Easel& easel) {
         fnToGrey(easel.m_Picture);
         fnPaint(easel.m_Picture);
     }},
};

constexpr Step kPatterns[] = {
    {"A pattern of 80 x 60 over the whole picture",
     [](Easel& easel) { fnTile(easel, nullptr, nullptr); }},
    {"The same into a rectangle: the last row and column take what is left",
     [](Easel& easel) { fnTile(easel, nullptr, &kInner); }},
    {"The pattern's rows from 20 on, into a lower rectangle: the last row lacks 20 lines, which is "
     "the rule for patterns that don't begin at the top",
     [](Easel& easel) {
         const CRect part(0, 20, 80, 60);
         const CRect place(40, 30, 360, 260);
         fnTile(easel, &part, &place);
     }},
};

constexpr Step kBlocks[] = {
    kBefore,
    {"Twelve blocks, put back from the other end",
     [](Easel& easel) { fnSwapPieces(easel.m_Picture); }},
    {"A block of another picture",
     [](Easel& easel) {
         const CRect block(100, 75, 300, 225);
         easel.m_Picture.fnCopyBlock(easel.m_Scenes.m_Second, &block, 180, 20);
     }},
};

constexpr Exhibit kExhibits[] = {
    {"fill", "Filling rectangles", "The same calls at several depths.", fnFirst, kColors},
    {"pattern", "Filling with a picture", "", fnFirst, kPatterns},
    {"block", "Copying blocks", "", fnFirst, kBlocks},
};

} // namespace

std::span<const Exhibit> fnFillExhibits() {
    return kExhibits;
}
