#include "tests/plugins/CodecFiles.h"
#include "tests/support/FailingAllocator.h"

#include <png.h>

#include <string>
#include <string_view>

namespace {

void fnPut32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes fnChunk(std::string_view type, std::string_view data) {
    Bytes chunk;
    fnPut32(chunk, static_cast<std::uint32_t>(data.size()));
    chunk.insert(chunk.end(), type.begin(), type.end());
    chunk.insert(chunk.end(), data.begin(), data.end());
    std::uint32_t sum = 0xFFFFFFFFu;
    for (std::size_t i = 4; i < chunk.size(); ++i) {
        sum ^= chunk[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
    }
    fnPut32(chunk, ~sum);
    return chunk;
}

Bytes fnTitle(std::string_view text) {
    return fnChunk("tEXt", std::string("Title") + '\0' + std::string(text));
}

class PngChunks : public PictureTest {
protected:
    static constexpr std::size_t kHeaderEnd = 8 + 25;

    /// A picture of 2 x 2 pixels whose data is stored, so that parts of it can be found again.
    static TestPng fnPicture() {
        TestPng png;
        png.m_nWidth = png.m_nHeight = 2;
        png.m_Rows = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        return png;
    }

    /// The picture with chunks behind its header.
    static Bytes fnWith(const std::vector<Bytes>& chunks) {
        Bytes file = fnPicture().fnMake();
        Bytes all;
        for (const Bytes& chunk : chunks)
            all.insert(all.end(), chunk.begin(), chunk.end());
        file.insert(file.begin() + kHeaderEnd, all.begin(), all.end());
        return file;
    }

    /// A text of `count` equal letters, compressed by libpng.
    static Bytes fnCompressedText(const char* key, std::size_t count) {
        const std::string letters(count, 'a');
        TestPng png = fnPicture();
        png.m_MoreChunks = [&](void* handle, void* info) {
            png_text text = {};
            text.compression = PNG_TEXT_COMPRESSION_zTXt;
            text.key = const_cast<char*>(key);
            text.text = const_cast<char*>(letters.c_str());
            text.text_length = letters.size();
            png_set_text(static_cast<png_structp>(handle), static_cast<png_infop>(info), &text, 1);
        };
        const Bytes file = png.fnMake();
        const std::size_t length = std::size_t{file[kHeaderEnd + 2]} << 8 | file[kHeaderEnd + 3];
        const auto begin = file.begin() + kHeaderEnd;
        return {begin, begin + static_cast<std::ptrdiff_t>(12 + length)};
    }
};

TEST_F(PngChunks, ALengthIsNotAllocatedBeforeTheFileHasIt) {
    for (const char* type : {"tEXt", "zTXt", "iTXt", "sPLT", "pCAL", "sCAL", "iCCP", "eXIf", "hIST",
                             "tRNS", "pHYs", "PLTE", "tIME", "bKGD", "abCd"}) {
        Bytes file = fnPicture().fnMake();
        file.resize(kHeaderEnd);
        fnPut32(file, 0x7FFFFFFF);
        file.insert(file.end(), type, type + 4);
        file.insert(file.end(), {'k', 'e', 'y', 0});
        ASSERT_EQ(file.size(), 45u);
        fnPut(file);
        const CqBlockWatch watch({});
        EXPECT_EQ(fnRead().m_nMsgId, -6) << type;
        EXPECT_LT(watch.fnLargestOther(), 1u << 20) << type;
    }
}

TEST_F(PngChunks, TextsProfilesAndUnknownChunksTakeNoMemory) {
    const std::string long1(300000, 'x');
    std::vector<Bytes> chunks(100, fnCompressedText("Author", 1000000));
    for (const char* type : {"tEXt", "iTXt", "iCCP", "eXIf", "sPLT", "abCd"})
        chunks.push_back(fnChunk(type, std::string("Author") + '\0' + long1));
    fnPut(fnWith(chunks));
    CqPictureLimits limits;
    limits.m_nCodecBytes = 200000;
    const CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
    EXPECT_EQ(result.m_nMsgId, 0);
    EXPECT_TRUE(result.m_bReduced);
    EXPECT_EQ(fnPixelsOf(m_Image), fnPicture().m_Rows);
}

TEST_F(PngChunks, TheLastOfSeveralTitlesIsTaken) {
    fnPut(fnWith({fnTitle("one"), fnCompressedText("Title", 7), fnTitle("three")}));
    const CqPictureResult result = fnRead();
    EXPECT_TRUE(result.fnIsDone());
    EXPECT_FALSE(result.m_bReduced);
    EXPECT_STREQ(m_Image.Title, "three");
    fnPut(fnWith({fnTitle("one"), fnCompressedText("Title", 7)}));
    ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
    EXPECT_STREQ(m_Image.Title, "aaaaaaa");
}

TEST_F(PngChunks, ATitleBeyondTheLimitIsLeftOut) {
    CqPictureLimits limits;
    limits.m_nTextBytes = 1000;
    for (const Bytes& title :
         {fnTitle(std::string(1001, 'x')), fnCompressedText("Title", 100000)}) {
        fnPut(fnWith({title}));
        m_Image.Title = "old";
        const CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
        EXPECT_TRUE(result.fnIsDone());
        EXPECT_TRUE(result.m_bReduced);
        EXPECT_STREQ(m_Image.Title, "");
    }
    fnPut(fnWith({fnTitle(std::string(900, 'x'))}));
    EXPECT_FALSE(q32ReadPicture(kPath, m_Image, limits).m_bReduced);
    EXPECT_EQ(m_Image.Title.GetLength(), 900);
    fnPut(fnWith({fnTitle(std::string(600, 'x')), fnTitle(std::string(600, 'y'))}));
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).m_bReduced);
    EXPECT_EQ(static_cast<const char*>(m_Image.Title)[0], 'x');
    limits.m_nTextBytes = 0;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).m_bReduced);
    EXPECT_STREQ(m_Image.Title, "");
}

TEST_F(PngChunks, AtMostSixteenTitlesAreDecompressed) {
    std::vector<Bytes> chunks(16, fnCompressedText("Title", 100));
    fnPut(fnWith(chunks));
    EXPECT_FALSE(fnRead().m_bReduced);
    chunks.push_back(fnTitle("one more"));
    fnPut(fnWith(chunks));
    EXPECT_TRUE(fnRead().m_bReduced);
    EXPECT_EQ(m_Image.Title.GetLength(), 100);
}

TEST_F(PngChunks, AnAncillaryChunkAnywhereMakesNoDifference) {
    const Bytes plain = fnPicture().fnMake();
    const Bytes extra = fnChunk("abCd", "some bytes");
    std::vector<std::size_t> places;
    for (std::size_t at = 8; at < plain.size(); at += 12 + plain[at + 3])
        places.push_back(at);
    ASSERT_EQ(places.size(), 3u) << "header, data and end";
    for (const std::size_t place : places) {
        Bytes file = plain;
        file.insert(file.begin() + static_cast<std::ptrdiff_t>(place), extra.begin(), extra.end());
        fnPut(file);
        ASSERT_TRUE(fnReadAsDescribed().fnIsDone());
        EXPECT_EQ(fnPixelsOf(m_Image), fnPicture().m_Rows);
    }
}

TEST_F(PngChunks, AnUnknownCriticalChunkAndAnInvalidTypeAreCorrupted) {
    for (const char* type : {"ABCD", "ab1d", "abC "}) {
        fnPut(fnWith({fnChunk(type, "")}));
        EXPECT_EQ(fnRead().m_nMsgId, -6) << type;
    }
}

TEST_F(PngChunks, ProgressIsCalledAndCanAbortWhileChunksAreSkipped) {
    const Bytes chunk = fnChunk("abCd", "");
    const std::vector<Bytes> chunks(50000, chunk);
    fnPut(fnWith(chunks));
    RecordedProgress progress;
    ASSERT_TRUE(fnRead(&progress).fnIsDone());
    EXPECT_GE(progress.m_Percents.size(), 9u + 2) << "600,000 bytes ahead of two rows";
    for (std::size_t at = 1; at <= 9; ++at) {
        RecordedProgress aborting;
        aborting.m_nAbortAt = at;
        CqImage image;
        const CqPictureResult result = q32ReadPicture(kPath, image, &aborting);
        EXPECT_TRUE(result.m_bAborted);
        EXPECT_EQ(result.m_nMsgId, 0);
        EXPECT_EQ(aborting.m_Percents.size(), at) << "no call after the abort";
        EXPECT_EQ(image.TileMap, nullptr);
    }
}

TEST_F(PngChunks, RowsThatNeedMoreThanTheCodecMayTakeAreRefused) {
    TestPng png;
    png.m_nWidth = 100000;
    png.m_Rows.assign(300000, 5);
    fnPut(png.fnMake());
    CqPictureLimits limits;
    limits.m_nCodecBytes = 400000;
    const CqPictureResult result = q32ReadPicture(kPath, m_Image, limits);
    EXPECT_EQ(result.m_nMsgId, -1);
    EXPECT_EQ(result.m_eLimit, PICTURE_LIMIT_CODEC);
    limits.m_nCodecBytes = 2000000;
    EXPECT_TRUE(q32ReadPicture(kPath, m_Image, limits).fnIsDone());
}

} // namespace
