#pragma once

#include "q32Base/services/CqUndoMngr.h"

namespace darkroom {

/// Steps that can be undone when the user sets no number, and the most that he can set.
inline constexpr unsigned int kUsualLevels = 10;
inline constexpr unsigned int kMaxLevels = 100;

/// The library's undo manager, but fewer levels keep the newest snapshots: what a user has just
/// done has to be what undo takes back.
class History : public CqUndoMngr {
public:
    /// Changes the capacity of both stacks.
    /// @return false, after message -1, when memory ran out; the capacity is then as it was, but
    /// what is older than the new levels is gone
    bool fnSetLevels(unsigned int levels);
};

} // namespace darkroom
