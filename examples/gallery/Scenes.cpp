#include "examples/gallery/Scenes.h"

#include "examples/gallery/Displays.h"
#include "examples/gallery/ExhibitPictures.h"

#include <algorithm>

void Scenes::fnTake(CqImage& photograph, ProgressLine& progress) {
    if (fnIsComplete())
        return;
    photograph.fnConvert(24, false, nullptr);
    CqImage cut;
    cut = photograph;
    const unsigned int width = std::max(1u, std::min(cut.Width, cut.Height * 4 / 3));
    fnCutMiddle(cut, width, std::max(1u, width * 3 / 4));
    if (m_nTaken == 0)
        m_Photograph = cut;
    LineDisplay display(progress);
    cut.fnResample(kSceneWidth, kSceneHeight, true, &display);
    display.fnEnd();
    (m_nTaken == 0 ? m_First : m_Second).fnSwapBuf(cut);
    ++m_nTaken;
}

bool Scenes::fnComplete() {
    if (m_nTaken == 1) {
        m_Second = m_First;
        m_Second.fnRotate(180, CqColor(), nullptr, false, nullptr);
        ++m_nTaken;
    }
    return fnIsComplete();
}
