#include "tools/q32/Words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace tool {

namespace {

constexpr std::size_t kMaxScratchFolders = 4;
constexpr int kMaxSide = 0x7FFFFFFF;
constexpr double kMaxPercent = 100000;

template <typename Number>
std::optional<Number> fnParseWhole(std::string_view text, int base = 10) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (text.empty() || result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

/// An empty text counts as 0.
std::optional<std::uint32_t> fnParseSide(std::string_view text) {
    if (text.empty())
        return 0u;
    const std::optional<int> side = fnParseInteger(text);
    if (!side || *side < 1)
        return std::nullopt;
    return static_cast<std::uint32_t>(*side);
}

std::string fnShort(double value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

bool fnIsWithin(const std::optional<double>& value, const Argument& argument) {
    return value && *value >= argument.m_fLow && *value <= argument.m_fHigh;
}

bool fnIsChoice(const Argument& argument, std::string_view text) {
    const std::vector<std::string> all = fnSplitText(argument.m_pszChoices, ' ');
    return std::ranges::find(all, text) != all.end();
}

std::string fnJoinChoices(const Argument& argument, const char* between) {
    std::string joined;
    for (const std::string& one : fnSplitText(argument.m_pszChoices, ' '))
        joined += (joined.empty() ? "" : between) + one;
    return joined;
}

/// Whether `text` is a value of the argument's kind.
bool fnIsValue(const Argument& argument, std::string_view text) {
    switch (argument.m_eKind) {
    case Kind::INTEGER:
        return fnParseInteger(text) && fnIsWithin(fnParseNumber(text), argument);
    case Kind::NUMBER:
        return fnIsWithin(fnParseNumber(text), argument);
    case Kind::CHOICE:
        return fnIsChoice(argument, text);
    case Kind::COLOR:
        return fnParseColor(text).has_value();
    case Kind::SIZE:
        return fnParseSize(text).has_value();
    case Kind::PLACE:
        return fnParsePlace(text).has_value();
    case Kind::BYTES:
        return fnParseBytes(text).has_value();
    case Kind::WEIGHTS:
        return fnParseWeights(text).has_value();
    case Kind::FOLDERS: {
        const std::size_t count = fnSplitText(text, ',').size();
        return count >= 1 && count <= kMaxScratchFolders;
    }
    case Kind::FILE:
    case Kind::FLAG:
        break;
    }
    return argument.m_eKind == Kind::FLAG || !text.empty();
}

} // namespace

std::optional<int> fnParseInteger(std::string_view text) {
    return fnParseWhole<int>(text);
}

std::optional<double> fnParseNumber(std::string_view text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<CqColor> fnParseColor(std::string_view text) {
    if (text == "black")
        return CqColor(0, 0, 0, 255);
    if (text == "white")
        return CqColor(255, 255, 255, 255);
    if (text == "transparent")
        return CqColor(255, 255, 255, 0);
    if (!text.starts_with('#'))
        return std::nullopt;
    text.remove_prefix(1);
    std::string digits(text);
    if (digits.size() == 3)
        digits = {text[0], text[0], text[1], text[1], text[2], text[2]};
    if (digits.size() == 6)
        digits += "ff";
    const auto value = digits.size() == 8 ? fnParseWhole<std::uint32_t>(digits, 16) : std::nullopt;
    if (!value)
        return std::nullopt;
    const auto byte = [&](int shift) { return static_cast<unsigned char>(*value >> shift); };
    return CqColor(byte(24), byte(16), byte(8), byte(0));
}

std::optional<SizeSpec> fnParseSize(std::string_view text) {
    if (text.ends_with('%')) {
        const std::optional<double> percent = fnParseNumber(text.substr(0, text.size() - 1));
        if (!percent || *percent <= 0 || *percent > kMaxPercent)
            return std::nullopt;
        return SizeSpec{*percent, 0, 0};
    }
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos || text == "x")
        return std::nullopt;
    const auto width = fnParseSide(text.substr(0, cross));
    const auto height = fnParseSide(text.substr(cross + 1));
    if (!width || !height)
        return std::nullopt;
    return SizeSpec{0, *width, *height};
}

std::optional<Place> fnParsePlace(std::string_view text) {
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos)
        return std::nullopt;
    const auto x = fnParseInteger(text.substr(0, comma));
    const auto y = fnParseInteger(text.substr(comma + 1));
    if (!x || !y || *x < -kMaxSide || *y < -kMaxSide)
        return std::nullopt;
    return Place{*x, *y};
}

std::optional<std::uint64_t> fnParseBytes(std::string_view text) {
    constexpr std::string_view kUnits = "KMGT";
    unsigned int shift = 0;
    if (!text.empty()) {
        const std::size_t unit = kUnits.find(text.back());
        if (unit != std::string_view::npos) {
            shift = 10 * (static_cast<unsigned int>(unit) + 1);
            text.remove_suffix(1);
        }
    }
    const auto count = fnParseWhole<std::uint64_t>(text);
    if (!count || *count == 0 || *count > UINT64_MAX >> shift)
        return std::nullopt;
    return *count << shift;
}

std::optional<std::vector<double>> fnParseWeights(std::string_view text) {
    std::vector<double> weights;
    for (const std::string& part : fnSplitText(text, ',')) {
        const std::optional<double> weight = fnParseNumber(part);
        if (!weight)
            return std::nullopt;
        weights.push_back(*weight);
    }
    if (weights.size() != 9 && weights.size() != 25 && weights.size() != 49)
        return std::nullopt;
    return weights;
}

std::vector<std::string> fnSplitText(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::string_view one = text.substr(0, text.find(separator));
        if (!one.empty())
            parts.emplace_back(one);
        text.remove_prefix(std::min(text.size(), one.size() + 1));
    }
    return parts;
}

std::string fnFindComplaint(const Argument& argument, std::string_view text) {
    if (fnIsValue(argument, text))
        return "";
    const std::string range = fnShort(argument.m_fLow) + " to " + fnShort(argument.m_fHigh);
    switch (argument.m_eKind) {
    case Kind::INTEGER:
        return "an integer from " + range;
    case Kind::NUMBER:
        return "a number from " + range;
    case Kind::CHOICE:
        return "one of " + fnJoinChoices(argument, ", ");
    case Kind::COLOR:
        return "a colour such as #ff8000, black, white or transparent";
    case Kind::SIZE:
        return "a size such as 1000x800, 1000x, x800 or 50%";
    case Kind::PLACE:
        return "two integers such as 10,-20";
    case Kind::BYTES:
        return "an amount such as 512M or 4G";
    case Kind::WEIGHTS:
        return "9, 25 or 49 numbers, separated by commas";
    case Kind::FOLDERS:
        return "one to four folders, separated by commas";
    case Kind::FILE:
    case Kind::FLAG:
        break;
    }
    return "the name of a file";
}

std::string fnNameValue(const Argument& argument) {
    switch (argument.m_eKind) {
    case Kind::INTEGER:
    case Kind::NUMBER:
        return "N";
    case Kind::CHOICE:
        return fnJoinChoices(argument, "|");
    case Kind::COLOR:
        return "COLOUR";
    case Kind::SIZE:
        return "SIZE";
    case Kind::PLACE:
        return "X,Y";
    case Kind::BYTES:
        return "BYTES";
    case Kind::WEIGHTS:
        return "N,N,...";
    case Kind::FOLDERS:
        return "FOLDER,...";
    case Kind::FILE:
        return "FILE";
    case Kind::FLAG:
        break;
    }
    return "";
}

} // namespace tool
