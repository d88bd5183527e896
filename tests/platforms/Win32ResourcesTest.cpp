/// @file Resources that the resource compiler put into this program.

#include "platforms/win32/win32.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"
#include "q32Base/sound/CqWave.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

class Win32Resources : public testing::Test {
protected:
    static CqPlatform fnMake(UINT codePage) {
        CqWin32Options options;
        options.m_nCodePage = codePage;
        return q32Win32Platform(q32Win32Windows(), options);
    }
    std::string fnFind(HINSTANCE module, CqResourceId type, CqResourceId name) {
        CqResourceData data;
        return m_Resources.fnFind(module, type, name, data)
                   ? std::string(static_cast<const char*>(data.m_pBytes), data.m_nSize)
                   : "missing";
    }

    const CqPlatform m_Platform = fnMake(1252);
    CqResourceService& m_Resources = *m_Platform.m_pResources;
    const HINSTANCE m_Program = ::GetModuleHandleW(nullptr);
};

TEST_F(Win32Resources, TheProgramsOwnAreFoundByNameAndByNumber) {
    for (const HINSTANCE module : {HINSTANCE(nullptr), m_Program}) {
        EXPECT_EQ(fnFind(module, "WAVE", "Horn"), "RIFF toot");
        EXPECT_EQ(fnFind(module, WORD{300}, WORD{7}), "seven");
        EXPECT_EQ(fnFind(module, WORD{300}, WORD{8}), "missing");
    }
}

TEST_F(Win32Resources, TheVersionIsTheCompiledOne) {
    const std::string version = fnFind(nullptr, RT_VERSION_ID, WORD{1});
    constexpr std::size_t kFixedAt = 40; // behind "VS_VERSION_INFO"
    ASSERT_GE(version.size(), kFixedAt + sizeof(VS_FIXEDFILEINFO));
    VS_FIXEDFILEINFO fixed;
    std::memcpy(&fixed, version.data() + kFixedAt, sizeof fixed);
    EXPECT_EQ(fixed.dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(fixed.dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(fixed.dwFileVersionLS, 0x00030004u);
}

/// For its life, the user's languages begin with this one.
class UserLanguage {
public:
    explicit UserLanguage(LANGID language) {
        ::SetThreadUILanguage(language);
        ::SetThreadLocale(MAKELCID(language, SORT_DEFAULT)); // which Wine goes by
    }
    ~UserLanguage() {
        ::SetThreadUILanguage(m_Before);
        ::SetThreadLocale(m_LocaleBefore);
    }
    UserLanguage(const UserLanguage&) = delete;
    UserLanguage& operator=(const UserLanguage&) = delete;

private:
    LANGID m_Before = ::GetThreadUILanguage();
    LCID m_LocaleBefore = ::GetThreadLocale();
};

TEST_F(Win32Resources, OfSeveralLanguagesTheUsersIsChosen) {
    std::string text;
    {
        const UserLanguage german(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN));
        EXPECT_EQ(fnFind(nullptr, WORD{300}, WORD{9}), "neun");
        ASSERT_TRUE(m_Resources.fnLoadString(nullptr, 520, text));
        EXPECT_EQ(text, "&Hallo");
        EXPECT_EQ(fnFind(nullptr, WORD{300}, WORD{7}), "seven") << "the only one there is";
    }
    const UserLanguage english(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US));
    EXPECT_EQ(fnFind(nullptr, WORD{300}, WORD{9}), "nine");
    ASSERT_TRUE(m_Resources.fnLoadString(nullptr, 520, text));
    EXPECT_EQ(text, "&Hello");
}

/// The library, which loads what the program holds.
class Win32LoadedResources : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(q32Attach(q32Win32Platform(q32Win32Windows()))); }
    void TearDown() override {
        q32Detach();
        q32SetMessageService(nullptr);
    }
    static std::uint32_t fnGetPixel(CqImage& image, int x, int y) {
        const CqColor color = image.fnGetPixelColor(x, y);
        return std::uint32_t{color.m_Red} << 16 | std::uint32_t{color.m_Green} << 8 | color.m_Blue;
    }
};

TEST_F(Win32LoadedResources, ABitmapBecomesAnImage) {
    CqImage image(40, 0); // Win32Picture.bmp
    ASSERT_EQ(image.Width, 5u);
    ASSERT_EQ(image.Height, 3u);
    EXPECT_EQ(image.BitCount, 24u);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(
                fnGetPixel(image, x, y),
                static_cast<std::uint32_t>((10 * x + 1) << 16 | (20 * y + 2) << 8 | (x + 16 * y)))
                << x << ", " << y;
    image.fnLoad(40, 32);
    EXPECT_EQ(image.BitCount, 32u);
    EXPECT_EQ(fnGetPixel(image, 4, 2), 0x292A24u);
}

TEST_F(Win32LoadedResources, ARunLengthCodedBitmapIsDecoded) {
    CqImage image(41, 0); // Win32Coded.bmp
    ASSERT_EQ(image.Width, 4u);
    ASSERT_EQ(image.Height, 2u);
    EXPECT_EQ(image.BitCount, 8u);
    EXPECT_EQ(image.PaletteCount, 3u);
    const std::vector<std::uint32_t> top = {0xFF0000, 0x00FF00, 0x0000FF, 0x0000FF};
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(fnGetPixel(image, x, 0), top[static_cast<std::size_t>(x)]) << x;
        EXPECT_EQ(fnGetPixel(image, x, 1), 0x0000FFu) << x;
    }
}

TEST_F(Win32LoadedResources, AWaveBecomesASound) {
    const CqWave sound(42); // Win32Sound.wav
    EXPECT_EQ(sound.fnGetFormat().nChannels, 1);
    EXPECT_EQ(sound.fnGetFormat().nSamplesPerSec, 8000u);
    EXPECT_EQ(sound.fnGetFormat().wBitsPerSample, 16);
    ASSERT_EQ(sound.fnGetFrameCount(), 4u);
    const std::int16_t samples[] = {0, 1000, -1000, 32767};
    EXPECT_EQ(std::memcmp(sound.fnGetBuffer(), samples, sizeof samples), 0);
}

TEST_F(Win32LoadedResources, WhatTheProgramLacksRaisesTheResourceException) {
    CqImage image(40, 0);
    for (const auto& load :
         {std::function([&] { image.fnLoad(43, 0); }), std::function([] { CqWave().fnLoad(40); })})
        try {
            load();
            ADD_FAILURE() << "no exception";
        } catch (CResourceException* failure) {
            failure->Delete();
        }
    EXPECT_EQ(image.Width, 5u) << "as it was";
}

TEST_F(Win32LoadedResources, AStringBecomesAMessageWithItsArgument) {
    EXPECT_STREQ(q32MessageText(500), "first string");
    EXPECT_STREQ(q32MessageText(530, "a.txt", nullptr, ::GetModuleHandleW(nullptr)),
                 "a.txt is missing");
    CString text;
    EXPECT_TRUE(text.LoadString(500));
    EXPECT_STREQ(text, "first string");
    EXPECT_FALSE(text.LoadString(502));
}

TEST_F(Win32Resources, StringsAreInTheCodePage) {
    std::string text;
    ASSERT_TRUE(m_Resources.fnLoadString(nullptr, 500, text));
    EXPECT_EQ(text, "first string");
    ASSERT_TRUE(m_Resources.fnLoadString(m_Program, 501, text));
    EXPECT_EQ(text, "caf\xE9");
    const CqPlatform utf8 = fnMake(CP_UTF8);
    ASSERT_TRUE(utf8.m_pResources->fnLoadString(nullptr, 501, text));
    EXPECT_EQ(text, "caf\xC3\xA9");
    EXPECT_FALSE(m_Resources.fnLoadString(nullptr, 502, text));
    EXPECT_FALSE(m_Resources.fnLoadString(nullptr, 5000, text));
}

TEST_F(Win32Resources, AnyLoadedModuleIsSearchedAndNothingElseIs) {
    const HINSTANCE user = ::GetModuleHandleW(L"user32.dll");
    ASSERT_NE(user, nullptr);
    EXPECT_NE(fnFind(user, RT_VERSION_ID, WORD{1}), "missing");
    EXPECT_EQ(fnFind(user, "WAVE", "Horn"), "missing");
    static char none[64];
    EXPECT_EQ(fnFind(reinterpret_cast<HINSTANCE>(none), RT_VERSION_ID, WORD{1}), "missing");
    EXPECT_EQ(fnFind(reinterpret_cast<HINSTANCE>(std::uintptr_t{0x1230}), // NOLINT
                     RT_VERSION_ID, WORD{1}),
              "missing");
}

} // namespace
