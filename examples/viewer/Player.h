#pragma once

#include "q32Base/sound/CqWave.h"

/// The sound that was opened last.
class Player {
public:
    /// Reads a file; a message box shows a failure. False then, and what was there stays.
    bool fnOpen(const char* path);
    bool fnIsEmpty() const { return m_Wave.fnGetFrameCount() == 0; }
    bool fnIsPlaying() const { return m_Wave.fnGetState() == WAVE_PLAYING; }
    void fnPlay();
    void fnStop() { m_Wave.fnStop(); }

private:
    CqWave m_Wave;
};
