// What the darkroom finds in files besides their pixels, and the format in which it saves.
#include "examples/darkroom/model/FileExtras.h"

#include "tests/darkroom/PictureTools.h"
#include "tests/support/AttachedTest.h"

#include <string>

using darkroom::Document;

namespace {

constexpr char kPath[] = "C:\\picture";
const std::string kNull(1, '\0');

std::string fnBig(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}

/// The checksum of a chunk.
std::uint32_t fnChecksum(const std::string& bytes) {
    std::uint32_t sum = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    return ~sum;
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
    /// What a document that was opened from these bytes would lose by saving.
    std::uint32_t fnFind(const std::string& bytes) {
        fnPut(bytes);
        Document document(1);
        EXPECT_TRUE(document.fnOpen(kPath, nullptr).fnIsDone());
        return document.fnGetExtras();
    }
    /// A PNG with a chunk after its header.
    static std::string fnWithChunk(std::string png, const std::string& type,
                                   const std::string& data) {
        return png.insert(33, fnBig(static_cast<std::uint32_t>(data.size()), 4) + type + data +
                                  fnBig(fnChecksum(type + data), 4));
    }
    static std::string fnWithSegment(std::string jpeg, int marker, const std::string& data) {
        return jpeg.insert(2, "\xFF" + fnBig(static_cast<std::uint32_t>(marker), 1) +
                                  fnBig(static_cast<std::uint32_t>(data.size() + 2), 2) + data);
    }
};

} // namespace

TEST_F(DarkroomFileExtras, PlainFilesHaveNone) {
    for (const PICTURE_FORMAT format : {PICTURE_PNG, PICTURE_JPEG, PICTURE_TIFF, PICTURE_BMP})
        EXPECT_EQ(fnFind(fnWrite(format)), 0u) << format;
}

TEST_F(DarkroomFileExtras, WhatNeitherPictureNorMetadataHoldIsNamedByKind) {
    const std::string png = fnWrite(PICTURE_PNG);
    const std::string jpeg = fnWrite(PICTURE_JPEG);
    EXPECT_EQ(fnFind(fnWithChunk(png, "acTL", fnBig(2, 4) + fnBig(0, 4))), darkroom::EXTRA_PAGES);
    EXPECT_EQ(fnFind(fnWithChunk(png, "tEXt", "Comment" + kNull + "hello")), darkroom::EXTRA_NOTES);
    EXPECT_EQ(fnFind(fnWithSegment(jpeg, 0xE2, "MPF" + kNull)), darkroom::EXTRA_PAGES);
    EXPECT_EQ(fnFind(fnWithChunk(png, "tEXt", "Title" + kNull + "hello")), 0u) << "that is kept";
    EXPECT_EQ(fnFind(fnWithChunk(png, "eXIf", "MM" + kNull + "*" + fnBig(8, 4) + fnBig(0, 6))), 0u)
        << "kept as well";
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
