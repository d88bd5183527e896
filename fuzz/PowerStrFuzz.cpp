/// @file The path and size operations of CqPowerStr on any text. The first byte selects the code
/// page, the next sixteen are two sizes, the rest is the path.

#include "fuzz/FuzzInput.h"
#include "q32Base/framework/PathRules_p.h"

#include <cstring>
#include <string>

namespace {

using namespace q32::fuzz;

using Split = void (CqPowerStr::*)(const char*);

std::string fnSplit(Split split, const std::string& path) {
    CqPowerStr text;
    (text.*split)(path.c_str());
    // The same from the string's own text, and into a string that shares its block.
    CqPowerStr own(path.c_str());
    const CqPowerStr shared(own);
    (own.*split)(own);
    fnCheck(own == text && shared == path.c_str(), "a string may be split into itself");
    fnCheck(text.GetLength() == static_cast<int>(std::strlen(text)), "no inner zeros");
    return static_cast<const char*>(text);
}

void fnTryPaths(const std::string& path) {
    const std::string directory = fnSplit(&CqPowerStr::fnSplitPathName, path);
    const std::string file = fnSplit(&CqPowerStr::fnSplitFileName, path);
    const std::string title = fnSplit(&CqPowerStr::fnSplitFileTitle, path);
    const std::string ext = fnSplit(&CqPowerStr::fnSplitExtName, path);
    const std::string root = fnSplit(&CqPowerStr::fnSplitRootName, path);
    fnCheck(path.compare(0, directory.size(), directory) == 0 && directory.size() <= 519 &&
                (directory.empty() || directory.back() == '\\'),
            "a directory leads the path");
    fnCheck(path.size() > 519 || directory + file == path, "directory and file make the path");
    fnCheck(path.size() > 259 || directory.empty() || file.compare(0, title.size(), title) == 0,
            "a title begins the file");
    fnCheck(title.size() <= 259 && title.find('.') == std::string::npos, "a title has no dot");
    fnCheck(path.size() >= ext.size() &&
                path.compare(path.size() - ext.size(), ext.size(), ext) == 0,
            "an extension ends the path");
    fnCheck(path.compare(0, root.size(), root) == 0 && root.size() <= 259, "a root leads the path");
}

void fnTrySlashes(const std::string& path) {
    CqPowerStr text(path.c_str());
    text.fnAppendSlash();
    const CString once(text);
    text.fnAppendSlash();
    // The first call may have turned a lead byte at the end into a character.
    fnCheck(text == once || !q32::fnEndsInSlash(once), "one backslash is enough");
    fnCheck(q32::fnEndsInSlash(text), "a path ends in a backslash");
    text.fnRemoveSlash();
    fnCheck(std::strlen(text) + 1 == static_cast<std::size_t>(text.GetLength()), "and it goes");
    text.fnAppendSlash();
    fnCheck(std::strlen(text) == static_cast<std::size_t>(text.GetLength()), "and comes back");
}

void fnTrySegments(const std::string& path) {
    CqPowerStr list;
    list.fnSegmentConcat(path.c_str());
    list.fnSegmentConcat(path.c_str());
    list.fnSegmentConcat(nullptr);
    const std::string expected = path + '\0' + path + '\0';
    fnCheck(std::string(list, static_cast<std::size_t>(list.GetLength())) == expected &&
                list[list.GetLength()] == 0,
            "segments are ended by zeros");
}

void fnTrySizes(const std::uint8_t* data, CqHeadlessWorld& world) {
    std::uint64_t sizes[2];
    std::memcpy(sizes, data, sizeof(sizes));
    ULARGE_INTEGER size;
    size.QuadPart = sizes[0];
    CqPowerStr text;
    text.fnSizeString(size);
    const std::string words = static_cast<const char*>(text);
    fnCheck(words.size() > 3 && words[words.size() - 3] == ' ' && words.back() == 'B',
            "a size has a unit");
    world.m_pFiles->fnSetWideSpaceQuery((sizes[1] & 1) != 0);
    CqDiskClusters clusters;
    std::memcpy(&clusters, data, sizeof(clusters));
    world.m_pDisks->fnSetClusters("C:\\", clusters);
    for (const bool used : {false, true}) {
        text.fnDiskSpaceRatio("C:\\", used);
        fnCheck(text.GetLength() > 1 && text[text.GetLength() - 1] == '%', "a share is in percent");
        text.fnDiskSpace("C:\\", used);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kHead = 17;
    if (size < kHead)
        return 0;
    CqHeadlessWorld& world = fnWorld();
    constexpr UINT kCodePages[] = {1252, 932, 65001};
    world.m_pLocale->fnSetCodePage(kCodePages[data[0] % 3]);
    const std::string bytes(reinterpret_cast<const char*>(data) + kHead, size - kHead);
    const std::string path = bytes.substr(0, bytes.find('\0'));
    fnTryPaths(path);
    fnTrySlashes(path);
    fnTrySegments(path);
    fnTrySizes(data + 1, world);
    return 0;
}
