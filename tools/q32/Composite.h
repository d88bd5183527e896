/// @file One picture over another one.
#pragma once

#include "q32Base/image/CqColor.h"
#include "tools/q32/Words.h"

#include <functional>
#include <vector>

class CqImage;

namespace tool {

class Session;

/// Sets the alpha of a row of the upper picture (alpha, red, green, blue) to its weights.
/// @param y  the row in the upper picture
using Weights = std::function<void(std::vector<unsigned char>& row, std::uint32_t y)>;

/// Lays `over` over `image`, which has 24 or 32 bits, with its corner at `place`; what lies
/// outside is cut off. Where the weight is 0, the lower pixel stays as it is.
/// @param weights  null: the alpha of `over`
/// Throws Interrupted and the memory exception.
void fnComposite(CqImage& image, CqImage& over, const Place& place, const Weights& weights,
                 Session& session);

/// Changes a row of alpha, red, green, blue to red, green, blue over a colour, in place; the rest
/// of the row is left over.
void fnFlattenRow(std::vector<unsigned char>& row, const CqColor& background);

} // namespace tool
