#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/PathRules_p.h"
#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <string>

TEST(PathRules, OneBackslashIsAppended) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "\\"}, {"C:", "C:\\"}, {"C:\\", "C:\\"}, {"a/", "a/\\"}, {"\\\\", "\\\\"},
    };
    for (const auto& [before, after] : cases) {
        CString path(before);
        q32::fnAppendSlash(path);
        EXPECT_STREQ(path, after);
        q32::fnAppendSlash(path);
        EXPECT_STREQ(path, after) << "once only";
    }
}

TEST(PathRules, ATrailByteIsNotTakenForABackslash) {
    CqFakeWorld world;
    world.m_pLocale->m_bDoubleByte = true;
    EXPECT_FALSE(q32::fnEndsInSlash("C:\\\x83\x5c"));
    EXPECT_TRUE(q32::fnEndsInSlash("C:\\\x83\x83\\"));
    EXPECT_STREQ(q32::fnSplitRootName("\x83\x5c\\a"), "\x83\x5c\\");
}

TEST(PathRules, ACharacterIsSearchedForOnlyAtCharacterBoundaries) {
    CqFakeWorld world;
    world.m_pLocale->m_bDoubleByte = true;
    const char text[] = "\x83\x5c"
                        "a\\b\\\x83\x5c";
    const std::size_t count = sizeof(text) - 1;
    EXPECT_EQ(q32::fnFindChar(text, count, '\\'), 3u);
    EXPECT_EQ(q32::fnFindLastChar(text, count, '\\'), 5u);
    EXPECT_EQ(q32::fnFindChar(text, count, '.'), count) << "none";
    EXPECT_EQ(q32::fnFindLastChar(text, count, '.'), count);
    EXPECT_EQ(q32::fnFindChar(text, 0, '\\'), 0u);
    EXPECT_EQ(q32::fnFindLastChar(text, 5, '\\'), 3u) << "no further than the count";
}

TEST(PathRules, TheRootEndsWithTheFirstBackslashAfterALeadingPair) {
    const std::pair<const char*, const char*> cases[] = {
        {"C:\\dir\\a.txt", "C:\\"},
        {"\\\\server\\share\\f", "\\\\server\\"},
        {"\\\\server", ""},
        {"a.txt", ""},
        {"", ""},
        {"\\a", "\\"},
        {"/srv/scratch\\f", "/srv/scratch\\"},
    };
    for (const auto& [path, root] : cases)
        EXPECT_STREQ(q32::fnSplitRootName(path), root);
    EXPECT_STREQ(q32::fnSplitRootName(nullptr), "");
    EXPECT_STREQ(q32::fnSplitRootName((std::string(258, 'a') + "\\").c_str()),
                 (std::string(258, 'a') + "\\").c_str());
    EXPECT_STREQ(q32::fnSplitRootName((std::string(259, 'a') + "\\").c_str()), "");
}

TEST(PathRules, TruncationSplitsNoCharacter) {
    CqFakeWorld world;
    world.m_pLocale->m_bDoubleByte = true;
    EXPECT_EQ(q32::fnCutLength("a\x83\x5c"
                               "b",
                               10),
              4u);
    EXPECT_EQ(q32::fnCutLength("a\x83\x5c"
                               "b",
                               3),
              3u);
    EXPECT_EQ(q32::fnCutLength("a\x83\x5c"
                               "b",
                               2),
              1u);
    EXPECT_EQ(q32::fnCutLength("a\x83", 2), 2u) << "a lead byte at the end stands alone";
    EXPECT_EQ(q32::fnCutLength("", 0), 0u);
}

TEST(PathRules, ALocaleWithoutMemoryRaisesTheMemoryException) {
    CqFakeWorld world;
    world.m_pLocale->m_bMemoryFails = true;
    EXPECT_THROW(q32::fnCharBytes("a", 1), CMemoryException*);
}
