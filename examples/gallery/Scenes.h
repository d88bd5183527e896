#pragma once

#include "examples/gallery/Terminal.h"
#include "q32Base/image/CqImage.h"

inline constexpr unsigned int kSceneWidth = 400;
inline constexpr unsigned int kSceneHeight = 300;

/// The initial pictures of the exhibits: all of 24 bits, and all but the first of `kSceneWidth` x
/// `kSceneHeight` pixels.
struct Scenes {
    CqImage m_Photograph; ///< the first photograph, cropped to 4:3
    CqImage m_First;      ///< the same, reduced
    CqImage m_Second;     ///< the second photograph, or the first one rotated

    /// Takes what is still missing from a photograph, which is converted to 24 bits. Raises the
    /// memory exception; throws Aborted.
    void fnTake(CqImage& photograph, ProgressLine& progress);
    /// Whether no more photographs are needed.
    bool fnIsComplete() const { return m_nTaken == 2; }
    /// Substitutes a missing second photograph. False when there was none at all.
    bool fnComplete();

private:
    unsigned int m_nTaken = 0;
};
