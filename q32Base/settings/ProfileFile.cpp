#include "q32Base/settings/ProfileFile_p.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <optional>

namespace q32 {
namespace {

using std::size_t;
using std::string_view;

constexpr string_view kLineEnds = "\r\n";
constexpr string_view kBlanks = " \t\x1a";
constexpr string_view kUtf8Mark = "\xef\xbb\xbf";

string_view fnTrim(string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The part of a name or value that one line can hold: up to a line break or NUL.
string_view fnOneLine(string_view text) {
    return text.substr(0, text.find_first_of(string_view("\r\n\0", 3)));
}

bool fnEqualNames(string_view a, string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : int{c}; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

bool fnIsUtf16(string_view text) {
    return text.substr(0, 2) == "\xff\xfe" || text.substr(0, 2) == "\xfe\xff";
}

/// Offset of the first line, after a UTF-8 mark.
size_t fnStart(string_view text) {
    return text.substr(0, kUtf8Mark.size()) == kUtf8Mark ? kUtf8Mark.size() : 0;
}

/// Offsets of a line in the text.
struct LineSpan {
    size_t m_nBegin;
    size_t m_nEnd;  ///< of its characters, without the line break
    size_t m_nNext; ///< start of the next line
};

LineSpan fnLineAt(string_view text, size_t begin) {
    assert(begin < text.size());
    const size_t end = std::min(text.find_first_of(kLineEnds, begin), text.size());
    const size_t mark = text.substr(end, 2) == kLineEnds ? 2 : 1;
    return {begin, end, std::min(end + mark, text.size())};
}

/// The content of a line: anything after a NUL is ignored.
string_view fnContent(string_view text, const LineSpan& line) {
    const string_view all = text.substr(line.m_nBegin, line.m_nEnd - line.m_nBegin);
    return fnTrim(all.substr(0, all.find('\0')));
}

/// The name, if the line is a header. The last closing bracket ends it; without one the line is no
/// header.
std::optional<string_view> fnHeaderName(string_view content) {
    const size_t close = content.rfind(']');
    if (content.empty() || content[0] != '[' || close == string_view::npos)
        return std::nullopt;
    return fnTrim(content.substr(1, close - 1));
}

struct KeyValue {
    string_view m_Key;
    std::optional<string_view> m_Value; ///< none for a line without "="
};

KeyValue fnSplit(string_view content) {
    const size_t equals = content.find('=');
    if (equals == string_view::npos)
        return {content, std::nullopt};
    return {fnTrim(content.substr(0, equals)), fnTrim(content.substr(equals + 1))};
}

/// Location of a section and a key in the text.
struct Found {
    bool m_bSection;
    size_t m_nBegin;               ///< of the section, its header included
    size_t m_nEnd;                 ///< of the section
    size_t m_nInsert;              ///< after its last non-blank line
    std::optional<LineSpan> m_Key; ///< the key's line
};

Found fnFind(string_view text, string_view section, string_view key) {
    section = fnTrim(fnOneLine(section));
    key = fnTrim(fnOneLine(key));
    size_t at = fnStart(text);
    Found found{section.empty(), at, text.size(), at, std::nullopt};
    for (; at < text.size();) {
        const LineSpan line = fnLineAt(text, at);
        const string_view content = fnContent(text, line);
        const auto header = fnHeaderName(content);
        if (header && found.m_bSection) {
            found.m_nEnd = at;
            break;
        }
        if (header && fnEqualNames(*header, section)) {
            found.m_bSection = true;
            found.m_nBegin = at;
        }
        if (found.m_bSection && !content.empty()) {
            found.m_nInsert = line.m_nNext;
            if (!header && !found.m_Key && fnEqualNames(fnSplit(content).m_Key, key))
                found.m_Key = line;
        }
        at = line.m_nNext;
    }
    return found;
}

string_view fnLineEndStyle(string_view text) {
    const size_t end = text.find_first_of(kLineEnds);
    if (end == string_view::npos)
        return kLineEnds;
    return text.substr(end, text.substr(end, 2) == kLineEnds ? 2 : 1);
}

void fnInsertLines(std::string& text, size_t at, const std::string& lines, string_view lineEnd) {
    const bool midLine = at > fnStart(text) && kLineEnds.find(text[at - 1]) == string_view::npos;
    text.insert(at, midLine ? std::string(lineEnd) + lines : lines);
}

PROFILE_EDIT fnErase(std::string& text, size_t begin, size_t end) {
    assert(begin <= end && end <= text.size());
    if (begin == end)
        return PROFILE_EDIT::UNCHANGED;
    text.erase(begin, end - begin);
    return PROFILE_EDIT::CHANGED;
}

size_t fnCopyValue(string_view value, char* buffer, size_t size) {
    if (size == 0)
        return 0;
    const bool quoted =
        value.size() > 1 && (value[0] == '"' || value[0] == '\'') && value.front() == value.back();
    if (quoted)
        value.remove_prefix(1);
    size_t length = std::min(value.size(), size - 1);
    if (quoted && length > 0 && size >= value.size())
        --length; // the closing quote, or the character in its place
    if (length > 0)
        std::memmove(buffer, value.data(), length); // the fallback may lie in the buffer
    assert(length < size);
    buffer[length] = 0;
    return length;
}

} // namespace

size_t fnReadProfileString(string_view text, string_view section, string_view key,
                           string_view fallback, char* buffer, size_t size) {
    if (!fnIsUtf16(text)) {
        const Found found = fnFind(text, section, key);
        const auto value =
            found.m_Key ? fnSplit(fnContent(text, *found.m_Key)).m_Value : std::nullopt;
        if (value)
            return fnCopyValue(*value, buffer, size);
    }
    while (fallback.size() > 1 && fallback.back() == ' ')
        fallback.remove_suffix(1);
    return fnCopyValue(fallback, buffer, size);
}

PROFILE_EDIT fnWriteProfileString(std::string& text, string_view section, string_view key,
                                  string_view value) {
    if (fnIsUtf16(text))
        return PROFILE_EDIT::REFUSED;
    value = fnOneLine(value);
    value.remove_prefix(std::min(value.find_first_not_of(kBlanks), value.size()));
    const Found found = fnFind(text, section, key);
    if (found.m_Key) {
        const KeyValue entry = fnSplit(fnContent(text, *found.m_Key));
        if (entry.m_Value && *entry.m_Value == fnTrim(value))
            return PROFILE_EDIT::UNCHANGED;
        const std::string line = std::string(entry.m_Key) + '=' + std::string(value);
        text.replace(found.m_Key->m_nBegin, found.m_Key->m_nEnd - found.m_Key->m_nBegin, line);
        return PROFILE_EDIT::CHANGED;
    }
    const std::string lineEnd(fnLineEndStyle(text));
    std::string lines = std::string(fnTrim(fnOneLine(key))) + '=' + std::string(value) + lineEnd;
    if (!found.m_bSection)
        lines = '[' + std::string(fnTrim(fnOneLine(section))) + ']' + lineEnd + lines;
    fnInsertLines(text, found.m_bSection ? found.m_nInsert : text.size(), lines, lineEnd);
    return PROFILE_EDIT::CHANGED;
}

PROFILE_EDIT fnDeleteProfileKey(std::string& text, string_view section, string_view key) {
    if (fnIsUtf16(text))
        return PROFILE_EDIT::REFUSED;
    const Found found = fnFind(text, section, key);
    if (!found.m_Key)
        return PROFILE_EDIT::UNCHANGED;
    return fnErase(text, found.m_Key->m_nBegin, found.m_Key->m_nNext);
}

PROFILE_EDIT fnDeleteProfileSection(std::string& text, string_view section) {
    if (fnIsUtf16(text))
        return PROFILE_EDIT::REFUSED;
    const Found found = fnFind(text, section, {});
    if (!found.m_bSection)
        return PROFILE_EDIT::UNCHANGED;
    return fnErase(text, found.m_nBegin, found.m_nEnd);
}

} // namespace q32
