// A library with none of the protections that products have.
#include <cstdio>
#include <memory>
#include <vector>

/// Has a frame of several pages, copies into an array and indexes a vector.
__attribute__((visibility("default"))) int fnUnprotected(const char* text, std::size_t index) {
    char copy[20000];
    std::snprintf(copy, sizeof(copy), "%s", text);
    const auto values = std::make_shared<std::vector<int>>(index, 7);
    return copy[index] + (*values)[index / 2];
}
