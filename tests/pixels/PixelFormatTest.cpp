#include "q32Base/pixels/Nibbles_p.h"
#include "q32Base/pixels/PixelFormat_p.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using namespace q32;

std::vector<int> fnList(const PixelColor& color) {
    return {color.m_nRed, color.m_nGreen, color.m_nBlue, color.m_nAlpha};
}

TEST(PixelFormat, EveryDepthIsFoundByItsBitsAndNoOther) {
    for (std::uint32_t bits = 0; bits <= 64; ++bits) {
        const PixelFormat* format = fnFindPixelFormat(bits);
        const bool depth = bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
        ASSERT_EQ(format != nullptr, depth) << bits;
        if (!format)
            continue;
        EXPECT_EQ(&fnPixelFormat(bits), format);
        EXPECT_EQ(format->m_nBits, bits);
        EXPECT_EQ(format->m_nBytes, bits / 8);
        EXPECT_EQ(format->m_bIndexed, bits <= 8);
        EXPECT_EQ(format->m_bIndexed, fnIsIndexed(bits));
        EXPECT_EQ(format->m_bAlpha, bits == 32);
        EXPECT_EQ(format->m_fnUnpack == nullptr, bits <= 8);
        EXPECT_EQ(format->m_fnPack == nullptr, bits <= 8);
    }
}

TEST(PixelFormat, StoredPixelsOf16BitsHaveTheHighByteFirstAndLowBitsOfZero) {
    // 10110 100101 01101
    const std::uint8_t pixel[2] = {0b10110100, 0b10101101};
    EXPECT_EQ(fnList(fnPixelFormat(16).m_fnUnpack(pixel)),
              (std::vector<int>{0b10110000, 0b10010100, 0b01101000, 255}));
    std::uint8_t out[2] = {};
    fnPixelFormat(16).m_fnPack(out, {0b10110111, 0b10010111, 0b01101111, 7});
    EXPECT_EQ(out[0], pixel[0]);
    EXPECT_EQ(out[1], pixel[1]);
}

TEST(PixelFormat, SinglePixelsOf16BitsMixTheirGreenAndAreWrittenLowByteFirst) {
    // Low byte first, the bytes are 10101101 10110100, whose middle six bits are 101101.
    const std::uint8_t pixel[2] = {0b10110100, 0b10101101};
    EXPECT_EQ(fnList(fnPixelFormat(16).m_fnUnpackSingle(pixel)),
              (std::vector<int>{0b10110000, 0b10110100, 0b01101000, 255}));
    std::uint8_t out[2] = {};
    fnPixelFormat(16).m_fnPackSingle(out, {0b10110111, 0b10010111, 0b01101111, 7});
    EXPECT_EQ(out[0], pixel[1]);
    EXPECT_EQ(out[1], pixel[0]);
}

TEST(PixelFormat, ExpandedChannelsRepeatTheirHighBits) {
    const auto repeat5 = [](unsigned int value) { return value % 32 << 3 | value % 32 >> 2; };
    const auto repeat6 = [](unsigned int value) { return value % 64 << 2 | value % 64 >> 4; };
    for (unsigned int value = 0; value <= 0xFFFF; ++value) {
        const Rgb8 wide = fnExpand565(value);
        ASSERT_EQ(wide.m_nRed, repeat5(value >> 11)) << value;
        ASSERT_EQ(wide.m_nGreen, repeat6(value >> 5)) << value;
        ASSERT_EQ(wide.m_nBlue, repeat5(value)) << value;
        const Rgb8 narrow = fnExpand555(value);
        ASSERT_EQ(narrow.m_nRed, repeat5(value >> 10)) << value;
        ASSERT_EQ(narrow.m_nGreen, repeat5(value >> 5)) << value;
        ASSERT_EQ(narrow.m_nBlue, repeat5(value)) << value;
    }
}

TEST(PixelFormat, EveryValueOf16BitsComesBackFromItsColor) {
    for (unsigned int value = 0; value <= 0xFFFF; ++value) {
        const Rgb8 color = fnWiden565(value);
        ASSERT_EQ(color.m_nRed, value / 2048 * 8);
        ASSERT_EQ(color.m_nGreen, value / 32 % 64 * 4);
        ASSERT_EQ(color.m_nBlue, value % 32 * 8);
        ASSERT_EQ(fnPack565(color.m_nRed, color.m_nGreen, color.m_nBlue), value);
        ASSERT_EQ(fnPack565(color.m_nRed | 7u, color.m_nGreen | 3u, color.m_nBlue | 7u), value);
        ASSERT_EQ(fnWiden555To565(value), (value % 32768 / 32) * 64 + value % 32);
        ASSERT_EQ(fnNarrow565To555(value), value / 64 * 32 + value % 32);
    }
}

TEST(PixelFormat, TheKernelsOfADepthGiveTheColorsThatItUnpacks) {
    using Bytes = std::vector<std::uint8_t PixelColor::*>;
    const struct {
        PixelRun Kernels::*PixelFormat::*m_pRun;
        Bytes m_Bytes; ///< what each byte of a converted pixel holds; null: anything
    } forms[] = {
        {&PixelFormat::m_pToArgb32,
         {&PixelColor::m_nAlpha, &PixelColor::m_nRed, &PixelColor::m_nGreen, &PixelColor::m_nBlue}},
        {&PixelFormat::m_pToBgrx32,
         {&PixelColor::m_nBlue, &PixelColor::m_nGreen, &PixelColor::m_nRed, nullptr}},
        {&PixelFormat::m_pToRgb24,
         {&PixelColor::m_nRed, &PixelColor::m_nGreen, &PixelColor::m_nBlue}},
        {&PixelFormat::m_pToBgr24,
         {&PixelColor::m_nBlue, &PixelColor::m_nGreen, &PixelColor::m_nRed}}};
    std::mt19937 random(1);
    for (const std::uint32_t bits : {16u, 24u, 32u})
        for (const auto& form : forms) {
            const PixelFormat& format = fnPixelFormat(bits);
            constexpr std::size_t kCount = 201;
            std::vector<std::uint8_t> in(kCount * format.m_nBytes);
            for (std::uint8_t& byte : in)
                byte = static_cast<std::uint8_t>(random());
            const std::size_t size = form.m_Bytes.size();
            std::vector<std::uint8_t> out(kCount * size);
            if (const auto run = format.*form.m_pRun)
                (fnKernels().*run)(in.data(), out.data(), kCount);
            else
                out = in; // stored in that form
            for (std::size_t i = 0; i < kCount; ++i) {
                const PixelColor color = format.m_fnUnpack(&in[i * format.m_nBytes]);
                for (std::size_t at = 0; at < size; ++at)
                    if (form.m_Bytes[at]) {
                        ASSERT_EQ(out[i * size + at], color.*form.m_Bytes[at])
                            << bits << " bits, " << size << " bytes, pixel " << i;
                    }
            }
        }
}

TEST(PixelFormat, DeepPixelsAreBytesInTheOrderAlphaRedGreenBlue) {
    const std::uint8_t bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(fnList(fnPixelFormat(24).m_fnUnpack(bytes)), (std::vector<int>{1, 2, 3, 255}));
    EXPECT_EQ(fnList(fnPixelFormat(32).m_fnUnpack(bytes)), (std::vector<int>{2, 3, 4, 1}));
    std::uint8_t out[5] = {9, 9, 9, 9, 9};
    fnPixelFormat(24).m_fnPack(out, {5, 6, 7, 8});
    EXPECT_EQ(std::vector<int>(out, out + 5), (std::vector<int>{5, 6, 7, 9, 9}));
    fnPixelFormat(32).m_fnPack(out, {5, 6, 7, 8});
    EXPECT_EQ(std::vector<int>(out, out + 5), (std::vector<int>{8, 5, 6, 7, 9}));
}

TEST(Nibbles, RunsFromAnyPixelOfAnyLengthTouchOnlyTheirOwnNibbles) {
    constexpr std::size_t kBytes = 40;
    for (std::size_t x = 0; x < 6; ++x)
        for (std::size_t count = 0; x + count <= 2 * kBytes; ++count) {
            std::vector<std::uint8_t> row(kBytes);
            for (std::size_t i = 0; i < kBytes; ++i)
                row[i] = static_cast<std::uint8_t>(37 * i + 11);
            std::vector<std::uint8_t> expected(row);
            std::vector<std::uint8_t> indices(count + 1, 0xEE);
            fnUnpackNibbles(row.data(), x, count, indices.data());
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint8_t byte = row[(x + i) / 2];
                ASSERT_EQ(indices[i], (x + i) % 2 == 0 ? byte / 16 : byte % 16);
                indices[i] = static_cast<std::uint8_t>(indices[i] ^ (0xA0 | (i & 15)));
                std::uint8_t& to = expected[(x + i) / 2];
                const unsigned int index = indices[i] % 16u;
                to = static_cast<std::uint8_t>((x + i) % 2 == 0 ? to % 16 + index * 16
                                                                : to / 16 * 16 + index);
            }
            ASSERT_EQ(indices[count], 0xEE);
            fnPackNibbles(indices.data(), count, row.data(), x);
            ASSERT_EQ(row, expected) << x << ", " << count;
        }
}

} // namespace
