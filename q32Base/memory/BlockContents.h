#pragma once

namespace q32 {

/// What the bytes of a new block are.
enum class BlockContents {
    ZERO,
    ANY, ///< for a caller that writes each byte: memory used before isn't cleared
};

} // namespace q32
