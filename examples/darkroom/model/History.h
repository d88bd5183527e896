#pragma once

#include "q32Base/services/CqUndoMngr.h"

namespace darkroom {

/// The library's undo manager, but fewer levels keep the newest snapshots: what a user has just
/// done has to be what undo takes back.
class History : public CqUndoMngr {
public:
    /// Changes the capacity of both stacks.
    /// @return false, after message -1, when memory ran out; all is then as it was
    bool fnSetLevels(unsigned int levels);
};

} // namespace darkroom
