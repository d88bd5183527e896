#pragma once

#include "examples/gallery/Terminal.h"
#include "q32Base/image/CqImage.h"

inline constexpr unsigned int kSceneWidth = 400;
inline constexpr unsigned int kSceneHeight = 300;

/// The pictures that the exhibits begin with: all of 24 bits, and all but the first of
/// `kSceneWidth` x `kSceneHeight` pixels.
struct Scenes {
    CqImage m_Photograph; ///< the first photograph, cut to four to three
    CqImage m_First;      ///< the same, reduced
    CqImage m_Second;     ///< the second photograph, or the first one turned round

    /// Takes what is missing from a photograph, which becomes one of 24 bits. Raises the memory
    /// exception; throws Aborted.
    void fnTake(CqImage& photograph, ProgressLine& progress);
    /// Whether more photographs are wanted.
    bool fnIsComplete() const { return m_nTaken == 2; }
    /// Makes up for a second photograph that didn't come. False when there was none at all.
    bool fnComplete();

private:
    unsigned int m_nTaken = 0;
};
