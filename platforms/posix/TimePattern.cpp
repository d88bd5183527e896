#include "platforms/posix/TimePattern_p.h"

#include <algorithm>
#include <vector>

namespace q32::posix {

namespace {

/// A piece of a pattern: literal text, or one conversion ("%H", "%-I", "%OS").
struct Piece {
    std::string m_Text;
    char m_cConversion = 0; ///< its letter; 0 for text
};
using Pieces = std::vector<Piece>;

void fnSplit(std::string_view pattern, std::string_view twelveHour, Pieces& pieces) {
    static constexpr std::string_view kFlags = "_-0^#EO";
    for (std::size_t at = 0; at < pattern.size();) {
        std::size_t end = std::min(pattern.find('%', at), pattern.size());
        if (end > at) {
            pieces.push_back({std::string(pattern.substr(at, end - at))});
            at = end;
            continue;
        }
        do
            ++end;
        while (end < pattern.size() && kFlags.find(pattern[end]) != std::string_view::npos);
        if (end == pattern.size())
            return; // a lone % at the end is ignored
        const char letter = pattern[end++];
        // Composite conversions are expanded; the 12-hour pattern can't contain itself.
        if (letter == 'T')
            fnSplit("%H:%M:%S", {}, pieces);
        else if (letter == 'R')
            fnSplit("%H:%M", {}, pieces);
        else if (letter == 'r')
            fnSplit(twelveHour.empty() ? "%I:%M:%S %p" : twelveHour, {}, pieces);
        else
            pieces.push_back({std::string(pattern.substr(at, end - at)), letter});
        at = end;
    }
}

Pieces fnSplit(std::string_view pattern, std::string_view twelveHour) {
    Pieces pieces;
    fnSplit(pattern, twelveHour, pieces);
    return pieces;
}

std::string fnJoin(const Pieces& pieces) {
    std::string pattern;
    for (const Piece& piece : pieces)
        pattern += piece.m_Text;
    return pattern;
}

bool fnIsText(const Pieces& pieces, std::size_t at) {
    return at < pieces.size() && pieces[at].m_cConversion == 0;
}

std::string_view fnTrim(std::string_view text) {
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

/// Whether the text is a separator between two numbers, as opposed to the name of a unit.
bool fnIsMark(std::string_view text) {
    static constexpr std::string_view kMarks = ":.,-/'";
    const std::string_view mark = fnTrim(text);
    return mark.empty() || (mark.size() == 1 && kMarks.find(mark[0]) != std::string_view::npos);
}

} // namespace

std::string fnForce24Hour(std::string_view pattern, std::string_view twelveHour) {
    Pieces pieces = fnSplit(pattern, twelveHour);
    for (std::size_t at = 0; at < pieces.size();) {
        Piece& piece = pieces[at];
        if (piece.m_cConversion == 'I' || piece.m_cConversion == 'l') {
            piece.m_cConversion = piece.m_cConversion == 'I' ? 'H' : 'k';
            piece.m_Text.back() = piece.m_cConversion;
        } else if (piece.m_cConversion == 'p' || piece.m_cConversion == 'P') {
            // Removes the blank between the mark and the numbers, on one side only.
            std::string* const before =
                at > 0 && fnIsText(pieces, at - 1) ? &pieces[at - 1].m_Text : nullptr;
            std::string* const behind = fnIsText(pieces, at + 1) ? &pieces[at + 1].m_Text : nullptr;
            if (before && before->ends_with(' '))
                before->pop_back();
            else if (behind && behind->starts_with(' '))
                behind->erase(0, 1);
            pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(at));
            continue;
        }
        ++at;
    }
    return std::string(fnTrim(fnJoin(pieces)));
}

std::string fnDropSeconds(std::string_view pattern, std::string_view twelveHour) {
    Pieces pieces = fnSplit(pattern, twelveHour);
    for (std::size_t at = 0; at < pieces.size(); ++at) {
        if (pieces[at].m_cConversion != 'S')
            continue;
        pieces[at].m_Text.clear();
        const bool hasBefore = at > 0 && fnIsText(pieces, at - 1);
        if (hasBefore && fnIsMark(pieces[at - 1].m_Text)) {
            pieces[at - 1].m_Text.clear();
        } else if (fnIsText(pieces, at + 1)) {
            // The unit's name ends at the blank after it, which the blank before the number
            // replaces.
            std::string& unit = pieces[at + 1].m_Text;
            const std::size_t begin = std::min(unit.find_first_not_of(' '), unit.size());
            unit.erase(0, std::min(unit.find(' ', begin), unit.size()));
            if (hasBefore && pieces[at - 1].m_Text.ends_with(' ') && unit.starts_with(' '))
                unit.erase(0, 1);
        }
    }
    return std::string(fnTrim(fnJoin(pieces)));
}

} // namespace q32::posix
