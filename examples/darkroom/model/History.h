#pragma once

#include "q32Base/services/CqUndoMngr.h"

#include <string>
#include <vector>

namespace darkroom {

/// Default and largest number of steps that can be undone.
inline constexpr unsigned int kUsualLevels = 10;
inline constexpr unsigned int kMaxLevels = 100;

/// The library's undo manager, except that reducing the levels keeps the newest steps: undo has to
/// take back what the user has just done. Steps can be dropped to make room.
class History : public CqUndoMngr {
public:
    /// Changes the capacity of both stacks.
    /// @return false, after message -1, when memory is exhausted; the capacity is then unchanged,
    /// but steps beyond the new number of levels are gone
    bool fnSetLevels(unsigned int levels);
    /// Deletes what could be redone: after a new change it would lead to another picture.
    void fnForgetRedo();
    /// Deletes the last of the steps to redo, or the oldest of those to undo. False when there is
    /// none.
    bool fnDropLastRedo();
    bool fnDropOldestUndo();
    /// The names of the steps, from the oldest to undo to the last one to redo. May throw
    /// std::bad_alloc.
    std::vector<std::string> fnListNames() const;
    /// How many of them can be undone.
    unsigned int fnCountDone() const { return m_nUndoCount; }
};

} // namespace darkroom
