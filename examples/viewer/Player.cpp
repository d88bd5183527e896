#include "examples/viewer/Player.h"

#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"

bool Player::fnOpen(const char* path) {
    CqWave wave;
    if (!q32ShowPictureResult(q32ReadWave(path, wave)))
        return false;
    m_Wave.fnStop();
    m_Wave.fnSwapBuf(wave);
    return true;
}

void Player::fnPlay() {
    if (!fnIsEmpty())
        m_Wave.fnPlay(false, false);
}
