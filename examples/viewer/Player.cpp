#include "examples/viewer/Player.h"

#include "plugins/WaveFile.h"
#include "q32Base/messages/Messages.h"

bool Player::fnOpen(const char* path) {
    CqWave wave;
    const CqWaveFileResult result = q32ReadWave(path, wave);
    if (result.m_nMsgId != MESSAGE_NONE) {
        q32ShowMsg(result.m_nMsgId, nullptr, path, nullptr, 0);
        return false;
    }
    m_Wave.fnStop();
    m_Wave.fnSwapBuf(wave);
    return true;
}

void Player::fnPlay() {
    if (!fnIsEmpty())
        m_Wave.fnPlay(false, false);
}
