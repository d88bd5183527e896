/// @file Words of the command line as values. None of these throws but for memory.
#pragma once

#include "q32Base/image/CqColor.h"
#include "tools/q32/Table.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A size as it is given. Either percent, or one or both sides; what isn't given is 0.
struct SizeSpec {
    double m_fPercent = 0;
    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
};

struct Place {
    int m_nX = 0;
    int m_nY = 0;
};

/// Each takes the entire text; none for anything else.
std::optional<int> fnParseInteger(std::string_view text);
std::optional<double> fnParseNumber(std::string_view text);
std::optional<CqColor> fnParseColor(std::string_view text);
std::optional<SizeSpec> fnParseSize(std::string_view text);
std::optional<Place> fnParsePlace(std::string_view text);
/// Bytes; K, M, G and T stand for powers of 1024.
std::optional<std::uint64_t> fnParseBytes(std::string_view text);
/// 9, 25 or 49 numbers.
std::optional<std::vector<double>> fnParseWeights(std::string_view text);

/// The parts of a text between separators; empty parts are left out.
std::vector<std::string> fnSplitText(std::string_view text, char separator);

/// What such an argument must be, as in "must be ..."; empty if `text` is that.
std::string fnFindComplaint(const Argument& argument, std::string_view text);
/// The placeholder of an option's value in help texts; empty for a flag.
std::string fnNameValue(const Argument& argument);

} // namespace tool
