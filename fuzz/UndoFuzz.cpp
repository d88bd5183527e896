/// @file Calls of the undo manager in any order, compared with plain lists.

#include "fuzz/FuzzInput.h"
#include "tests/services/UndoModel.h"
#include "tests/services/UndoTestTools.h"

#include <set>

namespace {

using namespace q32::fuzz;

class Session {
public:
    explicit Session(Input& input) : m_Input(input) { fnCreate(); }

    void fnCall() {
        switch (m_Input.fnBelow(8)) {
        case 0:
        case 1:
        case 2:
            return fnAdd();
        case 3:
        case 4:
            return fnStep(true);
        case 5:
            return fnStep(false);
        case 6: {
            const unsigned int levels = m_Input.fnBelow(10);
            fnCheck(m_Manager.fnChangeLevel(levels), "there is memory");
            return m_Model.fnResize(levels);
        }
        default:
            if (m_Input.fnFlag())
                return fnCreate();
            m_Manager.fnRemoveAll();
            m_Model.fnRemoveAll();
        }
    }

    void fnCompare() {
        fnCheck(m_Manager.fnGetLevelNumber() == m_Model.m_nLevels, "the capacity");
        fnCheckStack(m_Model.m_Undo, m_Manager.m_UndoBufs, m_Manager.m_UndoData,
                     m_Manager.m_nUndoCount);
        fnCheckStack(m_Model.m_Redo, m_Manager.m_RedoBufs, m_Manager.m_RedoData,
                     m_Manager.m_nRedoCount);
        std::size_t held = 0;
        for (const auto* stack : {&m_Model.m_Undo, &m_Model.m_Redo})
            for (const UndoModelEntry& entry : *stack)
                held += entry.m_nState >= 0 ? 1 : 0;
        fnCheck(m_Lives.size() == held, "each snapshot lives once");
        fnCheck(m_Document.m_ModifiedSet == m_Model.m_FlagsSet, "the document's flag");
        fnCheck(m_ToolBar.fnIsEnabled(ID_EDIT_UNDO) == m_Model.m_bUndoButton &&
                    m_ToolBar.fnIsEnabled(ID_EDIT_REDO) == m_Model.m_bRedoButton,
                "the buttons");
        m_ToolBar.fnClearMessages();
    }

private:
    void fnCreate() {
        const unsigned int levels = m_Input.fnBelow(10);
        fnCheck(m_Manager.fnCreate(&m_Document, levels, &m_ToolBar), "there is memory");
        m_Model.fnCreate(levels);
    }
    /// Some snapshots are null.
    UndoModelEntry fnNew() {
        const std::uint8_t tag = m_Input.fnByte();
        return {tag % 16 == 0 ? -1 : m_nNext++, tag};
    }
    CObject* fnMake(const UndoModelEntry& entry) {
        return entry.m_nState < 0 ? nullptr : new Snapshot(entry.m_nState, m_Lives);
    }
    void fnAdd() {
        m_Document.m_nModified = static_cast<int>(m_Input.fnBelow(3));
        const UndoModelEntry entry = fnNew();
        m_Model.fnAdd(entry, m_Document.m_nModified);
        m_Manager.fnAddUndoBuf(fnMake(entry), entry.m_nTag);
    }
    void fnStep(bool undo) {
        if (!(undo ? m_Manager.fnCanUndo() : m_Manager.fnCanRedo()))
            return;
        const UndoModelEntry current = fnNew();
        const UndoModelEntry expected = undo ? m_Model.fnUndo(current) : m_Model.fnRedo(current);
        unsigned long tag = 0;
        const std::unique_ptr<CObject> taken(
            undo ? m_Manager.fnUndo(fnMake(current), current.m_nTag, &tag)
                 : m_Manager.fnRedo(fnMake(current), current.m_nTag, &tag));
        fnCheck(fnStateOf(taken.get()) == expected.m_nState && tag == expected.m_nTag,
                "a step returns the newest snapshot");
    }
    static void fnCheckStack(const std::deque<UndoModelEntry>& expected, const CObArray& bufs,
                             const CDWordArray& data, std::uint32_t count) {
        fnCheck(count == expected.size(), "a stack has its entries");
        for (int i = 0; i < static_cast<int>(count); ++i) {
            const UndoModelEntry& entry = expected[static_cast<std::size_t>(i)];
            fnCheck(fnStateOf(bufs[i]) == entry.m_nState && data[i] == entry.m_nTag,
                    "an entry is in its place");
        }
    }

    Input& m_Input;
    std::multiset<int> m_Lives;
    CqHeadlessToolBar m_ToolBar;
    CqHeadlessDocument m_Document;
    OpenUndoMngr m_Manager; // deletes its snapshots before the set of the living goes
    UndoModelLists m_Model;
    int m_nNext = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    const Balance balance;
    Input input(data, size);
    Session session(input);
    for (int calls = 0; calls < 400 && !input.fnIsEmpty(); ++calls) {
        session.fnCall();
        session.fnCompare();
    }
    return 0;
}
