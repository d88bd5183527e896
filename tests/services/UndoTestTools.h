/// @file
/// A snapshot that records live objects, and a manager with accessible internals.
#pragma once

#include "q32Base/services/CqUndoMngr.h"

#include <set>

/// A snapshot of the state `m_nState`. Each is in the set of live snapshots; a double delete is
/// left to the sanitizer.
class Snapshot : public CObject {
public:
    Snapshot(int state, std::multiset<int>& lives) : m_nState(state), m_Lives(lives) {
        m_Lives.insert(state);
    }
    ~Snapshot() override { m_Lives.erase(m_Lives.find(m_nState)); }

    const int m_nState;

private:
    std::multiset<int>& m_Lives;
};

/// State of a snapshot; -1 for null.
inline int fnStateOf(const CObject* object) {
    return object ? static_cast<const Snapshot*>(object)->m_nState : -1;
}

class OpenUndoMngr : public CqUndoMngr {
public:
    using CqUndoMngr::fnCreateArray;
    using CqUndoMngr::m_bDocModified;
    using CqUndoMngr::m_nLevels;
    using CqUndoMngr::m_nRedoCount;
    using CqUndoMngr::m_nUndoCount;
    using CqUndoMngr::m_RedoBufs;
    using CqUndoMngr::m_RedoData;
    using CqUndoMngr::m_UndoBufs;
    using CqUndoMngr::m_UndoData;
};
