// What the darkroom finds in files besides their pixels, and the format in which it saves.
#include "examples/darkroom/model/FileExtras.h"

#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <string>

using darkroom::Document;
using darkroom::fnFindExtras;

namespace {

constexpr char kPath[] = "C:\\picture";

std::string fnBig(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}

class DarkroomFileExtras : public AttachedTest {
protected:
    void fnPut(const std::string& bytes) { m_World->m_pDisks->fnPutFile(kPath, bytes); }
    std::string fnWrite(PICTURE_FORMAT format) {
        CqImage image;
        fnFillNoise(image, 20, 10, 24, 1);
        EXPECT_TRUE(q32WritePicture(kPath, image, format).fnIsDone());
        return m_World->m_pDisks->fnGetFile(kPath).value_or("");
    }
    std::uint32_t fnFind(const std::string& bytes) {
        fnPut(bytes);
        return fnFindExtras(kPath);
    }
    /// A PNG with a chunk after its header, whose checksum isn't looked at here.
    static std::string fnWithChunk(std::string png, const std::string& type,
                                   const std::string& data) {
        return png.insert(33,
                          fnBig(static_cast<std::uint32_t>(data.size()), 4) + type + data + "crc!");
    }
    static std::string fnWithSegment(std::string jpeg, int marker, const std::string& data) {
        return jpeg.insert(2, "\xFF" + fnBig(static_cast<std::uint32_t>(marker), 1) +
                                  fnBig(static_cast<std::uint32_t>(data.size() + 2), 2) + data);
    }
    /// A directory of entries with one number of 16 bits each.
    static std::string fnTiff(const std::vector<std::pair<int, int>>& entries, int next = 0) {
        std::string bytes = std::string("MM\0*", 4) + fnBig(8, 4) +
                            fnBig(static_cast<std::uint32_t>(entries.size()), 2);
        for (const auto& [tag, value] : entries)
            bytes += fnBig(static_cast<std::uint32_t>(tag), 2) + fnBig(3, 2) + fnBig(1, 4) +
                     fnBig(static_cast<std::uint32_t>(value), 2) + fnBig(0, 2);
        return bytes + fnBig(static_cast<std::uint32_t>(next), 4);
    }
};

} // namespace

TEST_F(DarkroomFileExtras, PlainFilesHaveNone) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP}) {
        fnWrite(format);
        EXPECT_EQ(fnFindExtras(kPath), 0u) << format;
    }
    EXPECT_EQ(fnFindExtras("C:\\missing"), 0u);
    EXPECT_EQ(fnFind(""), 0u);
    EXPECT_EQ(fnFind("no picture at all"), 0u);
}

TEST_F(DarkroomFileExtras, ThoseOfAPngAreItsChunks) {
    const std::string png = fnWrite(PICTURE_PNG);
    const std::string null(1, '\0');
    EXPECT_EQ(fnFind(fnWithChunk(png, "iCCP", "profile")), darkroom::EXTRA_PROFILE);
    EXPECT_EQ(fnFind(fnWithChunk(png, "eXIf", "MM")), darkroom::EXTRA_CAMERA);
    EXPECT_EQ(fnFind(fnWithChunk(png, "acTL", "12345678")), darkroom::EXTRA_PAGES);
    EXPECT_EQ(fnFind(fnWithChunk(png, "tEXt", "Comment" + null + "hello")), darkroom::EXTRA_NOTES);
    EXPECT_EQ(fnFind(fnWithChunk(png, "tEXt", "Title" + null + "hello")), 0u);
    EXPECT_EQ(fnFind(fnWithChunk(png, "iTXt", "XML:com.adobe.xmp" + null + "<x>")),
              darkroom::EXTRA_EDITING);
    std::string deep = fnWithChunk(fnWithChunk(png, "iCCP", "profile"), "eXIf", "MM");
    deep[24] = 16;
    EXPECT_EQ(fnFind(deep),
              darkroom::EXTRA_PROFILE | darkroom::EXTRA_CAMERA | darkroom::EXTRA_DEPTH);
    for (std::size_t length = 0; length < deep.size(); length += 3)
        EXPECT_EQ(fnFind(deep.substr(0, length)) & ~0x1FFu, 0u) << "truncated to " << length;
}

TEST_F(DarkroomFileExtras, ThoseOfAJpegAreItsSegments) {
    const std::string jpeg = fnWrite(PICTURE_JPEG);
    const std::string null(1, '\0');
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xE1, "Exif" + null + null + "MM")),
              darkroom::EXTRA_CAMERA);
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xE1, "http://ns.adobe.com/xap/1.0/" + null)),
              darkroom::EXTRA_EDITING);
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xE2, "ICC_PROFILE" + null)), darkroom::EXTRA_PROFILE);
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xED, "Photoshop 3.0" + null)), darkroom::EXTRA_PRESS);
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xEE, "Exif" + null)), 0u) << "not in that segment";
}

TEST_F(DarkroomFileExtras, ThoseOfATiffAreItsTags) {
    EXPECT_EQ(fnFind(fnTiff({{258, 8}, {262, 2}, {274, 1}, {277, 3}})), 0u);
    EXPECT_EQ(fnFind(fnTiff({{258, 16}})), darkroom::EXTRA_DEPTH);
    EXPECT_EQ(fnFind(fnTiff({{262, 5}, {277, 4}})), darkroom::EXTRA_CHANNELS);
    EXPECT_EQ(fnFind(fnTiff({{274, 6}})), darkroom::EXTRA_ORIENTATION);
    EXPECT_EQ(fnFind(fnTiff({{258, 8}}, 4096)), darkroom::EXTRA_PAGES);
    EXPECT_EQ(fnFind(fnTiff({{700, 0}, {34675, 0}, {34665, 0}, {33723, 0}, {33432, 0}})),
              darkroom::EXTRA_EDITING | darkroom::EXTRA_PROFILE | darkroom::EXTRA_CAMERA |
                  darkroom::EXTRA_PRESS | darkroom::EXTRA_NOTES);
    const std::string whole = fnTiff({{258, 16}, {34675, 0}});
    for (std::size_t length = 0; length < whole.size(); ++length)
        fnFind(whole.substr(0, length)); // reads nothing beyond its end
}

TEST_F(DarkroomFileExtras, ADocumentKnowsThemUntilItIsSavedElsewhere) {
    const std::string jpeg = fnWrite(PICTURE_JPEG);
    const std::string exif = "Exif" + std::string(2, '\0') + "MM";
    fnPut(fnWithSegment(jpeg, 0xE1, exif));
    Document document(1);
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    EXPECT_FALSE(document.fnIsReduced()) << "they are kept";
    EXPECT_EQ(document.fnGetMetadata().m_Exif.size(), 2u);
    fnPut(fnWithSegment(fnWithSegment(jpeg, 0xE1, "more of it"), 0xE1, exif));
    ASSERT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetExtras(), darkroom::EXTRA_NOTES);
    ASSERT_TRUE(document.fnSave("C:\\other.png", nullptr).fnIsDone());
    EXPECT_EQ(document.fnGetExtras(), 0u);
}

TEST_F(DarkroomFileExtras, SavingKeepsTheFormatOfTheContentAndSavingAsTakesThatOfTheName) {
    CqImage image;
    fnFillNoise(image, 20, 10, 32, 1);
    const char* const path = "C:\\really a png.jpg";
    ASSERT_TRUE(q32WritePicture(path, image, PICTURE_PNG).fnIsDone());
    Document document(1);
    ASSERT_TRUE(document.fnOpen(path, nullptr).fnIsDone());
    EXPECT_TRUE(document.fnKeepsAll(path)) << "a PNG keeps the transparency";
    EXPECT_FALSE(document.fnKeepsAll("C:\\other.jpg"));
    ASSERT_TRUE(document.fnApply(*darkroom::fnFindOperation("left"), {}, nullptr).fnIsDone());
    ASSERT_TRUE(document.fnSave(path, nullptr).fnIsDone());
    EXPECT_EQ(document.IsModified(), 0);
    EXPECT_TRUE(m_World->m_pDisks->fnGetFile(path)->starts_with("\x89PNG"));
    ASSERT_TRUE(document.fnSave("C:\\other.tif", nullptr).fnIsDone());
    EXPECT_TRUE(m_World->m_pDisks->fnGetFile("C:\\other.tif")->starts_with("II"));
    ASSERT_TRUE(document.fnSave("C:\\other.tif", nullptr).fnIsDone());
    EXPECT_TRUE(m_World->m_pDisks->fnGetFile("C:\\other.tif")->starts_with("II")) << "from now on";
}
