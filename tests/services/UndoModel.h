/// @file
/// The undo manager's rules on plain lists.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

struct UndoModelEntry {
    int m_nState;
    std::uint32_t m_nTag;
    bool operator==(const UndoModelEntry&) const = default;
};

/// The rules on two lists, oldest first.
struct UndoModelLists {
    std::size_t m_nLevels = 0;
    std::deque<UndoModelEntry> m_Undo;
    std::deque<UndoModelEntry> m_Redo;
    bool m_bKept = false;
    std::vector<bool> m_FlagsSet;
    bool m_bUndoButton = false;
    bool m_bRedoButton = false;

    void fnPush(std::deque<UndoModelEntry>& stack, const UndoModelEntry& entry) {
        if (stack.size() == m_nLevels)
            stack.pop_front();
        stack.push_back(entry);
    }
    void fnAdd(const UndoModelEntry& entry, int modified) {
        if (m_nLevels == 0)
            return;
        if (m_Undo.empty() && m_nLevels >= 2)
            m_bKept = modified == 1;
        fnPush(m_Undo, entry);
        m_bUndoButton = true;
    }
    UndoModelEntry fnUndo(const UndoModelEntry& current) {
        fnPush(m_Redo, current);
        const UndoModelEntry taken = m_Undo.back();
        m_Undo.pop_back();
        if (m_Undo.empty() && m_nLevels >= 2)
            m_FlagsSet.push_back(m_bKept);
        m_bUndoButton = !m_Undo.empty();
        m_bRedoButton = true;
        return taken;
    }
    UndoModelEntry fnRedo(const UndoModelEntry& current) {
        if (m_Undo.empty() && m_nLevels >= 2)
            m_FlagsSet.push_back(true);
        fnPush(m_Undo, current);
        const UndoModelEntry taken = m_Redo.back();
        m_Redo.pop_back();
        m_bUndoButton = true;
        m_bRedoButton = !m_Redo.empty();
        return taken;
    }
    void fnResize(std::size_t levels) {
        if (m_Undo.size() > levels)
            m_Undo.resize(levels, {});
        if (m_Redo.size() > levels)
            m_Redo.resize(levels, {});
        m_nLevels = levels;
    }
    void fnRemoveAll() {
        if (m_nLevels == 0)
            return;
        m_Undo.clear();
        m_Redo.clear();
        m_bUndoButton = m_bRedoButton = false;
    }
    void fnCreate(std::size_t levels) {
        fnResize(levels);
        m_bUndoButton = m_bRedoButton = false;
    }
};
