#include "q32Base/memory/CqVMPolicy.h"
#include "tests/plugins/PictureTest.h"

#include <set>
#include <string>

namespace {

class PictureFile : public PictureTest {};

TEST_F(PictureFile, TheFormatsAreListedWithTheirNumbersAndExtensions) {
    std::set<unsigned int> numbers;
    for (const CqPictureFormat& format : q32GetPictureFormats()) {
        numbers.insert(format.m_eFormat);
        EXPECT_TRUE(format.m_bCanWrite);
        EXPECT_STRNE(format.m_pszName, "");
        EXPECT_EQ(
            q32FindPictureFormat((std::string("x.") + format.m_pszExtensions).substr(0, 5).c_str()),
            &format)
            << format.m_pszName;
    }
    EXPECT_EQ(numbers, (std::set<unsigned int>{1, 2, 3, 4}));
}

TEST_F(PictureFile, TheExtensionDeterminesTheFormatInAnyCase) {
    const auto formatOf = [](const char* path) {
        const CqPictureFormat* format = q32FindPictureFormat(path);
        return format ? static_cast<unsigned int>(format->m_eFormat) : 0u;
    };
    EXPECT_EQ(formatOf("C:\\a.b\\sea.PNG"), PICTURE_PNG);
    EXPECT_EQ(formatOf("sea.jpg"), PICTURE_JPEG);
    EXPECT_EQ(formatOf("sea.JPEG"), PICTURE_JPEG);
    EXPECT_EQ(formatOf("/srv\\sea.tif"), PICTURE_TIFF);
    EXPECT_EQ(formatOf("sea.tiff"), PICTURE_TIFF);
    EXPECT_EQ(formatOf("sea.bmp"), PICTURE_BMP);
    EXPECT_EQ(formatOf("sea.dib"), PICTURE_BMP);
    for (const char* none :
         {"", "sea", "sea.", "sea.pn", "sea.pngx", "a.png\\sea", "a.png/sea", "png"})
        EXPECT_EQ(formatOf(none), 0u) << none;
}

TEST_F(PictureFile, AMissingFileCannotBeOpened) {
    fnExpectRefused(-3);
}

TEST_F(PictureFile, AFileOpenInAnotherProgramIsReportedAsInUse) {
    fnPut("BM");
    CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
    const auto held = m_World->m_pFiles->fnOpen(kPath, {true, true, false, true}, cause);
    ASSERT_NE(held, nullptr);
    fnExpectRefused(-7);
}

TEST_F(PictureFile, AnEmptyFileIsReportedAsEmpty) {
    fnPut("");
    fnExpectRefused(-11);
}

TEST_F(PictureFile, AnUnknownFormatIsNotSupported) {
    fnPut("GIF89a and more bytes than any head");
    fnExpectRefused(-102);
    fnPut("x");
    fnExpectRefused(-102);
}

TEST_F(PictureFile, TheFormatIsDetectedByTheBytesNotByTheName) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    ASSERT_EQ(q32WritePicture("C:\\Temp\\a.png", *image, PICTURE_BMP).m_nMsgId, 0);
    ASSERT_EQ(q32ReadPicture("C:\\Temp\\a.png", m_Image).m_nMsgId, 0);
    EXPECT_EQ(m_Image.fnGetFioPlugin(), PICTURE_BMP);
}

TEST_F(PictureFile, AnUnknownFormatIsNotWritten) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    const CqPictureResult result = fnWrite(*image, static_cast<PICTURE_FORMAT>(9));
    EXPECT_EQ(result.m_nMsgId, -102);
    EXPECT_TRUE(m_World->m_pDisks->fnGetFiles().empty());
}

TEST_F(PictureFile, AResultIsWordedInOneLineThatNamesTheFile) {
    const auto text = [](const CqPictureResult& result) {
        return std::string(q32GetPictureResultText(result));
    };
    EXPECT_EQ(text(fnRead()), "Unable to open the file [C:\\Temp\\picture].");
    fnPut("nothing known");
    EXPECT_EQ(text(fnRead()), "C:\\Temp\\picture: File format is not supported. Unable to access "
                              "the file.");
    const auto image = fnMakeNoise(5, 5, 24, 1);
    const CqPictureResult done = fnWrite(*image, PICTURE_PNG);
    EXPECT_EQ(text(done), "");
    CqPictureLimits limits;
    limits.m_nPixels = 3;
    EXPECT_EQ(text(q32ReadPicture(kPath, m_Image, limits)),
              "C:\\Temp\\picture: Insufficient memory. Please close other programs to free up "
              "system resources. The picture has more pixels than this program allows.");
    RecordedProgress progress;
    progress.m_nAbortAt = 1;
    EXPECT_EQ(text(fnRead(&progress)), "Stopped: C:\\Temp\\picture");
}

TEST_F(PictureFile, EachPartOfAFileHasItsWords) {
    std::set<std::string> words;
    for (unsigned int part = 1; part <= PICTURE_PART_OTHER; part *= 2)
        words.insert(q32GetPicturePartText(static_cast<PICTURE_PART>(part)));
    EXPECT_EQ(words.size(), 7u);
    EXPECT_EQ(words.count("a colour profile"), 1u);
    for (const unsigned int none : {0u, 3u, 128u})
        EXPECT_EQ(q32GetPicturePartText(static_cast<PICTURE_PART>(none)), nullptr);
}

TEST_F(PictureFile, AResultIsShownUnlessItIsASuccessOrTheHostsOwnAbort) {
    EXPECT_FALSE(q32ShowPictureResult(fnRead()));
    ASSERT_EQ(m_World->m_pMessages->fnGetBoxes().size(), 1u);
    EXPECT_EQ(m_World->m_pMessages->fnGetBoxes()[0].m_szText,
              "Unable to open the file [C:\\Temp\\picture].");
    EXPECT_EQ(m_World->m_pMessages->fnGetBoxes()[0].m_nStyle, MB_ICONHAND);
    const auto image = fnMakeNoise(5, 5, 24, 1);
    EXPECT_TRUE(q32ShowPictureResult(fnWrite(*image, PICTURE_PNG)));
    RecordedProgress progress;
    progress.m_nAbortAt = 1;
    EXPECT_FALSE(q32ShowPictureResult(fnRead(&progress)));
    EXPECT_EQ(m_World->m_pMessages->fnGetBoxes().size(), 1u);
}

TEST_F(PictureFile, APictureIsWrittenInTheFormatOfItsExtension) {
    const auto image = fnMakeNoise(5, 5, 24, 1);
    const std::pair<const char*, PICTURE_FORMAT> kFiles[] = {{"C:\\Temp\\a.png", PICTURE_PNG},
                                                             {"C:\\Temp\\a.JPG", PICTURE_JPEG},
                                                             {"C:\\Temp\\a.tif", PICTURE_TIFF},
                                                             {"C:\\Temp\\a.bmp", PICTURE_BMP}};
    for (const auto& [path, format] : kFiles) {
        ASSERT_TRUE(q32WritePicture(path, *image).fnIsDone()) << path;
        ASSERT_TRUE(q32ReadPicture(path, m_Image).fnIsDone()) << path;
        EXPECT_EQ(m_Image.fnGetFioPlugin(), format);
    }
    for (const char* path : {"C:\\Temp\\a", "C:\\Temp\\a.xyz"})
        EXPECT_EQ(q32WritePicture(path, *image).m_nMsgId, -102);
    EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 4u);
}

TEST_F(PictureFile, ReadingIntoAnImageDropsOnlyItsPluginObject) {
    class DestructionFlag : public CObject {
    public:
        explicit DestructionFlag(bool& gone) : m_bGone(gone) {}
        ~DestructionFlag() override { m_bGone = true; }
        bool& m_bGone;
    };
    const auto image = fnMakeNoise(5, 5, 24, 1);
    ASSERT_EQ(fnWrite(*image, PICTURE_PNG).m_nMsgId, 0);
    bool gone = false;
    m_Image.fnSetPluginData(new DestructionFlag(gone));
    m_Image.TitleFlag = 7;
    ASSERT_EQ(fnRead().m_nMsgId, 0);
    EXPECT_TRUE(gone);
    EXPECT_EQ(m_Image.PluginData, nullptr);
    EXPECT_EQ(m_Image.TitleFlag, 7u);
}

TEST_F(PictureFile, ALargePictureIsReadIntoAScratchFileAndWrittenFromIt) {
    q32GetVMPolicy()->fnSetRamLimit(1000);
    const auto image = fnMakeNoise(300, 260, 24, 5);
    ASSERT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 1u);
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_TIFF, PICTURE_BMP}) {
        ASSERT_EQ(fnWrite(*image, format).m_nMsgId, 0);
        ASSERT_EQ(fnRead().m_nMsgId, 0);
        EXPECT_EQ(q32GetVMPolicy()->fnGetDiskUsage(0).m_nFiles, 2u);
        EXPECT_EQ(fnPixelsOf(m_Image), fnPixelsOf(*image));
    }
}

TEST_F(PictureFile, NoSpaceForThePixelsIsReportedAsOutOfMemory) {
    const auto image = fnMakeNoise(300, 260, 24, 5);
    ASSERT_EQ(fnWrite(*image, PICTURE_PNG).m_nMsgId, 0);
    q32GetVMPolicy()->fnSetRamLimit(q32GetVMPolicy()->fnGetRamUsed() + 1000);
    q32GetVMPolicy()->fnEnableDisk(0, false);
    fnExpectRefused(-1);
}

TEST_F(PictureFile, TheExchangeOfStorageLeavesEverythingElse) {
    const auto a = fnMakeNoise(3, 2, 24, 1);
    CqImage b;
    a->Title = "a";
    CqTileMap* map = a->TileMap;
    a->fnSwapBuf(b);
    EXPECT_EQ(b.TileMap, map);
    EXPECT_EQ(a->TileMap, nullptr);
    EXPECT_EQ(b.Width, 3u);
    EXPECT_EQ(b.Height, 2u);
    EXPECT_EQ(b.BitCount, 24u);
    EXPECT_EQ(b.BytesPerPixel, 3u);
    EXPECT_EQ(b.RowBytes, 9u);
    EXPECT_EQ(b.TileCount, 1u);
    EXPECT_EQ(a->Width, 0u);
    EXPECT_EQ(a->RowBytes, 0u);
    EXPECT_STREQ(a->Title, "a");
    EXPECT_STREQ(b.Title, "");
}

} // namespace
