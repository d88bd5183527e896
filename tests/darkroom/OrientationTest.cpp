// Files that say how they are to be shown, and what they say about themselves.
#include "examples/darkroom/model/FileExtras.h"
#include "examples/darkroom/model/Merge.h"
#include "examples/darkroom/model/RotateUpright.h"
#include "examples/darkroom/model/Thumbnail.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

using darkroom::Document;
using darkroom::fnFindOperation;

namespace {

constexpr char kOrientedPath[] = "C:\\picture.tif";

class DarkroomOrientation : public AttachedTest {
protected:
    /// Writes the letter F, 4 by 5 pixels when upright, as a file of that orientation stores it.
    static void fnWriteOriented(unsigned int orientation, unsigned int bits) {
        const std::array<const char*, 5> upright = {"####", "#...", "##..", "#...", "#..."};
        const bool lies = orientation >= 5;
        CqImage image;
        image.fnAlloc(lies ? 5 : 4, lies ? 4 : 5, bits, bits == 8 ? q32GreyRamp : nullptr,
                      bits == 8 ? 256 : 0);
        for (int row = 0; row < static_cast<int>(image.Height); ++row)
            for (int column = 0; column < static_cast<int>(image.Width); ++column) {
                // By the table of the standard: where row 0 and column 0 of the file are shown.
                const bool right =
                    orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
                const bool bottom =
                    orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
                int x = lies ? row : column;
                int y = lies ? column : row;
                x = right ? 3 - x : x;
                y = bottom ? 4 - y : y;
                const unsigned char value =
                    upright[static_cast<std::size_t>(y)][x] == '#' ? 255 : 0;
                image.fnSetPixelColor(column, row, CqColor(value, value, value, 255));
            }
        image.DpiX = lies ? 200 : 100;
        image.DpiY = lies ? 100 : 200;
        CqPictureMetadata metadata;
        metadata.m_nOrientation = orientation;
        ASSERT_TRUE(q32WritePicture(kOrientedPath, image, metadata, PICTURE_TIFF).fnIsDone());
    }
    static std::string fnLook(CqImage& image) {
        std::string look;
        for (int y = 0; y < static_cast<int>(image.Height); ++y, look += ' ')
            for (int x = 0; x < static_cast<int>(image.Width); ++x)
                look += image.fnGetPixelColor(x, y).m_Red > 127 ? '#' : '.';
        return look;
    }
};

} // namespace

TEST_F(DarkroomOrientation, AllEightAreShownUprightAtEveryDepthAndSavedSo) {
    for (const unsigned int bits : {8u, 24u, 32u})
        for (unsigned int orientation = 1; orientation <= 8; ++orientation) {
            fnWriteOriented(orientation, bits);
            Document document(2);
            ASSERT_TRUE(document.fnOpen(kOrientedPath, nullptr).fnIsDone());
            EXPECT_EQ(fnLook(document.fnGetImage()), "#### #... ##.. #... #... ") << orientation;
            EXPECT_EQ(document.fnGetImage().DpiX, 100) << orientation;
            EXPECT_EQ(document.fnGetImage().DpiY, 200) << orientation;
            EXPECT_FALSE(document.fnIsReduced()) << orientation;
            EXPECT_EQ(document.IsModified(), 0);
            ASSERT_TRUE(document.fnSave(kOrientedPath, nullptr).fnIsDone());
            Document again(2);
            ASSERT_TRUE(again.fnOpen(kOrientedPath, nullptr).fnIsDone());
            EXPECT_EQ(fnLook(again.fnGetImage()), "#### #... ##.. #... #... ") << orientation;
        }
}

TEST_F(DarkroomOrientation, AnAbortWhileAPictureIsRotatedLeavesTheFormerOne) {
    Document document(2);
    fnWriteOriented(1, 24);
    ASSERT_TRUE(document.fnOpen(kOrientedPath, nullptr).fnIsDone());
    fnWriteOriented(5, 24);
    AbortingProgress whole(100000);
    {
        Document other(1);
        ASSERT_TRUE(other.fnOpen(kOrientedPath, &whole).fnIsDone());
    }
    for (unsigned int call = 1; call <= whole.m_nCalls; ++call) {
        AbortingProgress progress(call);
        EXPECT_TRUE(document.fnOpen(kOrientedPath, &progress).m_bAborted) << call;
        EXPECT_EQ(document.fnGetImage().Width, 4u);
    }
}

TEST_F(DarkroomOrientation, MetadataIsKeptThroughEditsAndWhatAFormatLacksIsKnown) {
    CqImage image;
    fnFillNoise(image, 20, 10, 24, 1);
    CqPictureMetadata metadata;
    metadata.m_Xmp.assign(40, 'x');
    metadata.m_Iptc.assign(8, 'i');
    metadata.m_Profile.assign(200, 0);
    std::copy_n("RGB ", 4, metadata.m_Profile.begin() + 16);
    ASSERT_TRUE(q32WritePicture(kOrientedPath, image, metadata, PICTURE_TIFF).fnIsDone());
    Document document(2);
    ASSERT_TRUE(document.fnOpen(kOrientedPath, nullptr).fnIsDone());
    ASSERT_TRUE(document.fnApply(*fnFindOperation("right"), {}, nullptr).fnIsDone());
    EXPECT_EQ(document.fnFindLostMetadata("C:\\a.jpg"), 0u);
    EXPECT_EQ(document.fnFindLostMetadata("C:\\a.png"), darkroom::EXTRA_PRESS);
    EXPECT_EQ(document.fnFindLostMetadata("C:\\a.bmp"),
              darkroom::EXTRA_PRESS | darkroom::EXTRA_EDITING | darkroom::EXTRA_PROFILE);
    ASSERT_TRUE(document.fnSave("C:\\a.jpg", nullptr).fnIsDone());
    Document again(1);
    ASSERT_TRUE(again.fnOpen("C:\\a.jpg", nullptr).fnIsDone());
    EXPECT_EQ(again.fnGetMetadata().m_Profile, metadata.m_Profile);
    EXPECT_EQ(again.fnGetMetadata().m_Xmp, metadata.m_Xmp);
    ASSERT_TRUE(document.fnNew(5, 5, CqColor(), nullptr).fnIsDone());
    EXPECT_TRUE(document.fnGetMetadata().m_Profile.empty());
}

TEST_F(DarkroomOrientation, TheSmallPictureInExifGoesOnceThePictureIsAnotherOne) {
    using namespace std::string_literals;
    // A directory without entries, one of the small picture with its place and length, the picture.
    const std::string kept = "MM\0*\0\0\0\x08\0\0"s;
    const std::string small = "\0\0\0\x0E\0\x02"
                              "\x02\x01\0\x04\0\0\0\x01\0\0\0\x2C"
                              "\x02\x02\0\x04\0\0\0\x01\0\0\0\x05"
                              "\0\0\0\0small"s;
    const std::string rest = "rest";
    const auto join = [](const std::string& text) {
        return std::vector<unsigned char>(text.begin(), text.end());
    };
    const auto full = join(kept + small + rest);
    const auto bare = join(kept + std::string(small.size(), '\0') + rest);
    const char* const path = "C:\\small.jpg";
    const auto write = [&](unsigned int orientation) {
        CqImage image;
        fnFillNoise(image, 60, 40, 24, 1);
        CqPictureMetadata metadata;
        metadata.m_Exif = full;
        metadata.m_nOrientation = orientation;
        return q32WritePicture(path, image, metadata, PICTURE_JPEG).fnIsDone();
    };
    const auto read = [&] {
        CqImage image;
        CqPictureMetadata metadata;
        EXPECT_TRUE(q32ReadPicture(path, image, metadata).fnIsDone());
        return metadata.m_Exif;
    };
    ASSERT_TRUE(write(1));
    Document document(3);
    ASSERT_TRUE(document.fnOpen(path, nullptr).fnIsDone());
    ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone());
    EXPECT_EQ(read(), full) << "unchanged";
    ASSERT_TRUE(document.fnApply(*fnFindOperation("right"), {}, nullptr).fnIsDone());
    ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone());
    EXPECT_EQ(read(), bare);
    document.fnUndo();
    ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone());
    EXPECT_EQ(read(), full) << "it shows that again";
    document.fnMarkUnsaved();
    ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone());
    EXPECT_EQ(read(), bare) << "what was recovered may differ from it";
    // Damaged blocks of any kind stay within their bytes.
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::vector<unsigned char> exif(full.begin(),
                                        full.begin() + static_cast<long>(random() % full.size()));
        for (int j = 0; j < 3 && !exif.empty(); ++j)
            exif[random() % exif.size()] = static_cast<unsigned char>(random());
        const std::size_t size = exif.size();
        darkroom::fnRemoveThumbnail(exif);
        ASSERT_EQ(exif.size(), size);
    }
    auto loop = full;
    loop[13] = 8; // the directory refers to itself
    auto unlinked = loop;
    unlinked[13] = 0;
    darkroom::fnRemoveThumbnail(loop);
    EXPECT_EQ(loop, unlinked);
}

TEST_F(DarkroomOrientation, ADamagedFileIsOpenedOnlyOnRequestAndIsNotReplacedUnasked) {
    CqImage image;
    fnFillNoise(image, 60, 400, 24, 1);
    ASSERT_TRUE(q32WritePicture("C:\\half.png", image, PICTURE_PNG).fnIsDone());
    const std::string file = m_World->m_pDisks->fnGetFile("C:\\half.png").value_or("");
    m_World->m_pDisks->fnPutFile("C:\\half.png", file.substr(0, file.size() / 2));
    Document document(1);
    EXPECT_EQ(document.fnOpen("C:\\half.png", nullptr).m_nMsgId, MESSAGE_CORRUPTED);
    ASSERT_TRUE(document.fnOpen("C:\\half.png", nullptr, true).fnIsDone());
    EXPECT_TRUE(document.fnIsPartial());
    EXPECT_TRUE(document.fnIsReduced());
    const Bytes got = fnBytesOf(document.fnGetImage());
    const Bytes whole = fnBytesOf(image);
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + 60 * 3 * 100, whole.begin()));
}

class DarkroomSoftSelection : public AttachedTest {};

TEST_F(DarkroomSoftSelection, EditsAreLimitedToItAtEightTwentyFourAndThirtyTwoBits) {
    for (const unsigned int bits : {8u, 24u, 32u}) {
        Document document(5);
        fnOpenNoise(document, bits);
        ASSERT_TRUE(fnSelect(document, CRect(40, 30, 120, 90)).fnIsDone()) << bits;
        const Bytes before = fnBytesOf(document.fnGetImage());
        ASSERT_TRUE(document.fnApply(*fnFindOperation("brightness"), {60, 0}, nullptr).fnIsDone());
        const Bytes after = fnBytesOf(document.fnGetImage());
        const std::size_t pixel = bits / 8;
        int changed = 0;
        for (std::size_t i = 0; i < after.size(); ++i) {
            const CPoint place(static_cast<int>(i / pixel % 300),
                               static_cast<int>(i / pixel / 300));
            if (CRect(40, 30, 120, 90).PtInRect(place))
                changed += after[i] != before[i] ? 1 : 0;
            else
                ASSERT_EQ(after[i], before[i]) << bits << ": " << place.x << ", " << place.y;
        }
        EXPECT_GT(changed, 4000) << bits;
        document.fnUndo();
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before);
    }
}

TEST_F(DarkroomSoftSelection, AFeatheredEdgeMixesTheEditWithThePicture) {
    for (const unsigned int bits : {8u, 24u, 32u}) {
        Document document(5);
        fnOpenNoise(document, bits);
        EXPECT_TRUE(document.fnFeather(3, nullptr).m_bAborted) << "nothing is selected";
        ASSERT_TRUE(fnSelect(document, CRect(40, 30, 120, 90)).fnIsDone());
        ASSERT_TRUE(document.fnFeather(3, nullptr).fnIsDone());
        CqMask& mask = document.fnGetSelection();
        EXPECT_LT(mask.m_rectBound.left, 40);
        const auto weight = [&](int x, int y) {
            return *mask.fnGetPixelAddr(x - mask.m_rectBound.left, y - mask.m_rectBound.top);
        };
        EXPECT_EQ(weight(80, 60), 255);
        EXPECT_GT(weight(40, 60), 64);
        EXPECT_LT(weight(40, 60), 192);
        document.fnUndoSelection();
        EXPECT_EQ(document.fnGetSelection().m_rectBound, CRect(40, 30, 120, 90));
        document.fnRedoSelection();
        // To white, in a picture without alpha.
        ASSERT_TRUE(document.fnErase(nullptr).fnIsDone());
        if (bits != 24)
            continue;
        CqImage noise;
        fnFillNoise(noise, 300, 170, 24, 24);
        for (int x = mask.m_rectBound.left; x < 50; ++x) {
            const int w = weight(x, 60);
            const int was = noise.fnGetPixelColor(x, 60).m_Red;
            EXPECT_EQ(document.fnGetImage().fnGetPixelColor(x, 60).m_Red,
                      (255 * w + was * (255 - w) + 127) / 255);
        }
    }
}

TEST_F(DarkroomSoftSelection, ALineIsMixedAsFarAsASoftSelectionGoes) {
    Document document(5);
    fnOpenNoise(document, 24);
    ASSERT_TRUE(fnSelect(document, CRect(40, 30, 120, 90)).fnIsDone());
    ASSERT_TRUE(document.fnFeather(4, nullptr).fnIsDone());
    const std::array<CqPoint2D, 2> points = {CqPoint2D(0.5, 60.5), CqPoint2D(299.5, 60.5)};
    const CqColor before = document.fnGetImage().fnGetPixelColor(40, 60);
    const CqColor outside = document.fnGetImage().fnGetPixelColor(5, 60);
    ASSERT_TRUE(document.fnDraw(points, CqColor(255, 0, 0, 255), nullptr).fnIsDone());
    CqMask& mask = document.fnGetSelection();
    const int w = *mask.fnGetPixelAddr(40 - mask.m_rectBound.left, 60 - mask.m_rectBound.top);
    EXPECT_EQ(document.fnGetImage().fnGetPixelColor(40, 60).m_Red,
              (255 * w + before.m_Red * (255 - w) + 127) / 255);
    EXPECT_EQ(document.fnGetImage().fnGetPixelColor(80, 60).m_Green, 0);
    EXPECT_EQ(document.fnGetImage().fnGetPixelColor(5, 60).m_Red, outside.m_Red);
}

TEST_F(DarkroomSoftSelection, ACopyOfARectangleIsAsItIsAndOfAnyOtherShapeHasAlpha) {
    Document document(5);
    CqImage copy;
    EXPECT_TRUE(document.fnCopy(copy, nullptr).m_bAborted) << "no picture";
    fnOpenNoise(document, 24);
    ASSERT_TRUE(document.fnCopy(copy, nullptr).fnIsDone());
    EXPECT_EQ(fnBytesOf(copy), fnBytesOf(document.fnGetImage()));
    ASSERT_TRUE(fnSelect(document, CRect(10, 20, 40, 60)).fnIsDone());
    ASSERT_TRUE(document.fnCopy(copy, nullptr).fnIsDone());
    EXPECT_EQ(copy.Width, 30u);
    EXPECT_EQ(copy.BitCount, 24u);
    ASSERT_TRUE(document.fnFeather(2, nullptr).fnIsDone());
    ASSERT_TRUE(document.fnCopy(copy, nullptr).fnIsDone());
    EXPECT_EQ(copy.BitCount, 32u);
    CqMask& mask = document.fnGetSelection();
    EXPECT_EQ(copy.Width, mask.Width);
    EXPECT_EQ(copy.fnGetPixelColor(1, 20).m_Alpha, *mask.fnGetPixelAddr(1, 20));
    CqImage taken;
    taken.fnSwapBuf(copy);
    Document other(5);
    ASSERT_TRUE(other.fnTakeNew(taken).fnIsDone());
    other.fnMarkUnsaved();
    EXPECT_NE(other.IsModified(), 0);
    EXPECT_EQ(other.fnGetImage().BitCount, 32u);
}

TEST_F(DarkroomSoftSelection, TheStepsOfTheHistoryAreListedFromTheOldest) {
    Document document(5);
    fnOpenNoise(document, 24);
    using Names = std::vector<std::string>;
    EXPECT_EQ(document.fnListSteps(), Names());
    for (const char* id : {"right", "flipVertical", "grey"})
        ASSERT_TRUE(document.fnApply(*fnFindOperation(id), {}, nullptr).fnIsDone());
    const Names all = {"Rotate Right", "Flip Top and Bottom", "Grey"};
    EXPECT_EQ(document.fnListSteps(), all);
    EXPECT_EQ(document.fnCountDone(), 3u);
    document.fnUndo();
    document.fnUndo();
    EXPECT_EQ(document.fnListSteps(), all);
    EXPECT_EQ(document.fnCountDone(), 1u);
}

TEST_F(DarkroomSoftSelection, LevelsAndTheToneCurveRiseFromBlackToWhite) {
    CqImage ramp;
    ramp.fnAlloc(256, 1, 8, q32GreyRamp, 256);
    const auto run = [&](const char* id, const darkroom::Values& values) {
        for (int x = 0; x < 256; ++x)
            *ramp.fnGetPixelAddr(x, 0) = static_cast<unsigned char>(x);
        fnFindOperation(id)->m_pRun(ramp, values, nullptr);
        return fnBytesOf(ramp);
    };
    const Bytes levels = run("levels", {50, 100, 200, 10, 240});
    EXPECT_EQ(levels[50], 10);
    EXPECT_EQ(levels[200], 240);
    EXPECT_EQ(levels[125], 125);
    EXPECT_GT(run("levels", {0, 180, 255, 0, 255})[100], 100) << "a gamma above 1 brightens";
    for (const int height : {-100, 100}) {
        const Bytes curve = run("curve", {height, -height, height});
        EXPECT_TRUE(std::is_sorted(curve.begin(), curve.end())) << height;
        EXPECT_EQ(curve[0], 0);
        EXPECT_EQ(curve[255], 255);
    }
}
