#pragma once

#include <string>

namespace q32::software {

/// Bytes of a version resource that tells the version of this build.
std::string fnBuildVersionResource();

} // namespace q32::software
