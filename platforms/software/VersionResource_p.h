#pragma once

#include <string>

namespace q32::software {

/// A version resource with the version of this build.
std::string fnBuildVersionResource();

} // namespace q32::software
