/// @file
/// Splits of random paths, compared with the rules on lists of characters.

#include "tests/support/AttachedTest.h"
#include "tests/support/Random.h"

#include <string>
#include <vector>

namespace {

using Chars = std::vector<std::string>;

/// The path truncated to at most `limit` bytes.
Chars fnCut(const Chars& path, std::size_t limit) {
    Chars cut;
    std::size_t bytes = 0;
    for (const std::string& c : path) {
        bytes += c.size();
        if (bytes > limit)
            break;
        cut.push_back(c);
    }
    return cut;
}

std::string fnJoin(const Chars& path, std::size_t begin, std::size_t end) {
    std::string text;
    for (std::size_t i = begin; i < end; ++i)
        text += path[i];
    return text;
}

/// Characters up to and including the last `c`; 0 when there is none.
std::size_t fnEndOfLast(const Chars& path, const char* c) {
    for (std::size_t i = path.size(); i > 0; --i)
        if (path[i - 1] == c)
            return i;
    return 0;
}

std::string fnPathOf(const Chars& whole) {
    const Chars path = fnCut(whole, 519);
    return fnJoin(path, 0, fnEndOfLast(path, "\\"));
}

std::string fnFileOf(const Chars& path) {
    return fnJoin(path, fnEndOfLast(path, "\\"), path.size());
}

std::string fnTitleOf(const Chars& whole) {
    const Chars path = fnCut(whole, 259);
    const std::size_t begin = fnEndOfLast(path, "\\");
    std::size_t end = begin;
    while (begin > 0 && end < path.size() && path[end] != ".")
        ++end;
    return fnJoin(path, begin, end);
}

std::string fnExtOf(const Chars& path) {
    const std::size_t begin = fnEndOfLast(path, ".");
    return begin > 0 ? fnJoin(path, begin, path.size()) : std::string();
}

std::string fnRootOf(const Chars& whole) {
    const Chars path = fnCut(whole, 259);
    const bool server = whole.size() > 1 && whole[0] == "\\" && whole[1] == "\\";
    for (std::size_t i = server ? 2 : 0; i < path.size(); ++i)
        if (path[i] == "\\")
            return fnJoin(path, 0, i + 1);
    return {};
}

class PowerStrSplit : public AttachedTest {
protected:
    /// Compares all splits of random paths of up to 700 of these characters.
    static void fnCompare(const Chars& alphabet, std::uint32_t seed) {
        Random random(seed);
        for (int i = 0; i < 2000; ++i) {
            // Separators are rare in long paths, so that the limits are reached.
            const std::uint32_t count = random() % (i % 2 == 0 ? 12u : 700u);
            const std::uint32_t rare = i % 2 == 0 ? 1 : 1 + random() % 200;
            Chars path;
            for (std::uint32_t k = 0; k < count; ++k)
                path.push_back(random() % rare == 0 ? alphabet[random() % alphabet.size()] : "a");
            const std::string text = fnJoin(path, 0, path.size());
            ASSERT_EQ(fnSplit(&CqPowerStr::fnSplitPathName, text), fnPathOf(path)) << text;
            ASSERT_EQ(fnSplit(&CqPowerStr::fnSplitFileName, text), fnFileOf(path)) << text;
            ASSERT_EQ(fnSplit(&CqPowerStr::fnSplitFileTitle, text), fnTitleOf(path)) << text;
            ASSERT_EQ(fnSplit(&CqPowerStr::fnSplitExtName, text), fnExtOf(path)) << text;
            ASSERT_EQ(fnSplit(&CqPowerStr::fnSplitRootName, text), fnRootOf(path)) << text;
        }
    }
    static std::string fnSplit(void (CqPowerStr::*split)(const char*), const std::string& path) {
        CqPowerStr text("old content");
        (text.*split)(path.c_str());
        return static_cast<const char*>(text);
    }
};

} // namespace

TEST_F(PowerStrSplit, RandomPathsOfSingleBytesFollowTheRules) {
    fnCompare({"\\", ".", "/", ":", "b", "\x83", "\xE4"}, 8303);
}

TEST_F(PowerStrSplit, RandomPathsOfDoubleBytesFollowTheRules) {
    m_World->m_pLocale->fnSetCodePage(932);
    fnCompare({"\\", ".", "/", ":", "b", "\x83\x5c", "\x94\x5c", "\xE0\x40", "\xB1"}, 8304);
}

TEST_F(PowerStrSplit, RandomPathsOfUtf8FollowTheRules) {
    m_World->m_pLocale->fnSetCodePage(65001);
    fnCompare({"\\", ".", "/", ":", "b", "ü", "年", "𝄞"}, 8305);
}
