/// @file
/// Random calls of the undo manager, compared with a plain model of lists.

#include "tests/services/UndoModel.h"
#include "tests/services/UndoTestTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/Random.h"

#include <optional>
#include <vector>

namespace {

using Entry = UndoModelEntry;

class UndoModel : public AttachedTest {
protected:
    void SetUp() override {
        AttachedTest::SetUp();
        m_Manager.emplace();
        ASSERT_TRUE(m_Manager->fnCreate(&m_Document, 4, &m_ToolBar));
        m_Model.fnResize(4);
    }
    /// One in sixteen is a null snapshot.
    Entry fnNew() { return {m_Random() % 16 == 0 ? -1 : m_nNext++, m_Random()}; }
    CObject* fnMake(const Entry& entry) {
        return entry.m_nState < 0 ? nullptr : new Snapshot(entry.m_nState, m_Lives);
    }

    void fnStep(bool undo) {
        const Entry current = fnNew();
        unsigned long tag = 0;
        const bool expected = m_Random() % 4 != 0;
        CObject* object =
            undo ? m_Manager->fnUndo(fnMake(current), current.m_nTag, expected ? &tag : nullptr)
                 : m_Manager->fnRedo(fnMake(current), current.m_nTag, expected ? &tag : nullptr);
        const Entry taken = undo ? m_Model.fnUndo(current) : m_Model.fnRedo(current);
        EXPECT_EQ(fnStateOf(object), taken.m_nState);
        EXPECT_EQ(tag, expected ? taken.m_nTag : 0u);
        delete object;
    }
    /// False when the step chosen is unavailable.
    bool fnCall() {
        const std::uint32_t choice = m_Random() % 100;
        if (choice < 45) {
            m_Document.m_nModified = static_cast<int>(m_Random() % 3);
            const Entry entry = fnNew();
            m_Model.fnAdd(entry, m_Document.m_nModified);
            m_Manager->fnAddUndoBuf(fnMake(entry), entry.m_nTag);
        } else if (choice < 90) {
            const bool undo = choice < 70;
            if (!(undo ? m_Manager->fnCanUndo() : m_Manager->fnCanRedo()))
                return false;
            fnStep(undo);
        } else if (choice < 97) {
            const std::uint32_t levels = m_Random() % 10;
            EXPECT_TRUE(m_Manager->fnChangeLevel(levels));
            m_Model.fnResize(levels);
        } else if (choice < 99) {
            m_Manager->fnRemoveAll();
            m_Model.fnRemoveAll();
        } else {
            const std::uint32_t levels = m_Random() % 10;
            EXPECT_TRUE(m_Manager->fnCreate(&m_Document, levels, &m_ToolBar));
            m_Model.fnCreate(levels);
        }
        return true;
    }
    static std::deque<Entry> fnEntries(const CObArray& bufs, const CDWordArray& data,
                                       std::uint32_t count) {
        std::deque<Entry> entries;
        for (int i = 0; i < static_cast<int>(count); ++i)
            entries.push_back({fnStateOf(bufs[i]), data[i]});
        return entries;
    }
    void fnCompare() {
        OpenUndoMngr& manager = *m_Manager;
        ASSERT_EQ(manager.fnGetLevelNumber(), m_Model.m_nLevels);
        ASSERT_EQ(fnEntries(manager.m_UndoBufs, manager.m_UndoData, manager.m_nUndoCount),
                  m_Model.m_Undo);
        ASSERT_EQ(fnEntries(manager.m_RedoBufs, manager.m_RedoData, manager.m_nRedoCount),
                  m_Model.m_Redo);
        std::multiset<int> lives;
        for (const auto* stack : {&m_Model.m_Undo, &m_Model.m_Redo})
            for (const Entry& entry : *stack)
                if (entry.m_nState >= 0)
                    lives.insert(entry.m_nState);
        ASSERT_EQ(m_Lives, lives) << "each lives exactly once";
        ASSERT_EQ(m_Document.m_ModifiedSet, m_Model.m_FlagsSet);
        ASSERT_EQ(m_ToolBar.fnIsEnabled(ID_EDIT_UNDO), m_Model.m_bUndoButton);
        ASSERT_EQ(m_ToolBar.fnIsEnabled(ID_EDIT_REDO), m_Model.m_bRedoButton);
        m_ToolBar.fnClearMessages();
        fnCompareAnswers();
    }
    /// The state as reported by the public operations.
    void fnCompareAnswers() {
        ASSERT_EQ(m_Manager->fnCanUndo(), !m_Model.m_Undo.empty());
        ASSERT_EQ(m_Manager->fnCanRedo(), !m_Model.m_Redo.empty());
        for (const bool undo : {true, false}) {
            const std::deque<Entry>& stack = undo ? m_Model.m_Undo : m_Model.m_Redo;
            CqHeadlessCmdUI item(undo ? ID_EDIT_UNDO : ID_EDIT_REDO);
            m_Manager->fnUpdateMenu(&item);
            ASSERT_EQ(item.m_bEnabled, !stack.empty());
            if (stack.empty())
                continue;
            ASSERT_EQ(fnStateOf(m_Manager->fnPeekLastBuf(undo)), stack.back().m_nState);
        }
    }

    std::multiset<int> m_Lives;
    CqHeadlessToolBar m_ToolBar;
    CqHeadlessDocument m_Document;
    std::optional<OpenUndoMngr> m_Manager;
    UndoModelLists m_Model;
    Random m_Random{8101};
    int m_nNext = 0;
};

} // namespace

TEST_F(UndoModel, TenThousandRandomCallsMatchThePlainModel) {
    for (int calls = 0; calls < 12000;) {
        if (!fnCall())
            continue;
        ++calls;
        fnCompare();
        ASSERT_FALSE(HasFailure()) << "after call " << calls;
    }
    EXPECT_GT(m_nNext, 6000);
    EXPECT_GT(m_Model.m_FlagsSet.size(), 100u);
    m_Manager.reset();
    EXPECT_TRUE(m_Lives.empty());
}
