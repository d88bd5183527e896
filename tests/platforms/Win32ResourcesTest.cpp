/// @file Resources that the resource compiler put into this program.

#include "platforms/win32/win32.h"

#include <gtest/gtest.h>

#include <string>

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
        EXPECT_GT(fnFind(module, RT_VERSION_ID, WORD{1}).size(), 52u);
    }
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
