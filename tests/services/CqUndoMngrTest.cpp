#include "tests/services/UndoTestTools.h"
#include "tests/support/AttachedTest.h"
#include "tests/support/FailingAllocator.h"

#include <limits>
#include <vector>

namespace {

using Message = CqHeadlessToolBar::Message;

constexpr Message fnButton(UINT command, bool on) {
    return {0x401, command, on ? 1 : 0};
}
constexpr UINT kUndo = 57643;
constexpr UINT kRedo = 57644;

class UndoMngr : public AttachedTest {
protected:
    Snapshot* fnMake(int state) { return new Snapshot(state, m_Lives); }
    void fnAdd(int state, unsigned long tag = 0) { m_Manager.fnAddUndoBuf(fnMake(state), tag); }
    /// The state of the snapshot returned, which is deleted.
    int fnUndo(int state, unsigned long* tag = nullptr) {
        return fnTake(m_Manager.fnUndo(fnMake(state), 0, tag));
    }
    int fnRedo(int state, unsigned long* tag = nullptr) {
        return fnTake(m_Manager.fnRedo(fnMake(state), 0, tag));
    }
    static int fnTake(CObject* snapshot) {
        const int state = fnStateOf(snapshot);
        delete snapshot;
        return state;
    }

    std::multiset<int> m_Lives;
    CqHeadlessToolBar m_ToolBar;
    CqHeadlessDocument m_Document;
    OpenUndoMngr m_Manager;
};

using States = std::multiset<int>;

} // namespace

TEST_F(UndoMngr, ANewManagerHasNoLevelsAndNothingToUndo) {
    EXPECT_EQ(m_Manager.fnGetLevelNumber(), 0u);
    EXPECT_FALSE(m_Manager.fnCanUndo());
    EXPECT_FALSE(m_Manager.fnCanRedo());
    m_Manager.fnRemoveAll();
}

TEST_F(UndoMngr, CreatingDisablesBothButtonsUndoFirst) {
    EXPECT_TRUE(m_Manager.fnCreate(&m_Document, 3, &m_ToolBar));
    EXPECT_EQ(m_Manager.fnGetLevelNumber(), 3u);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, false), fnButton(kRedo, false)}));
    EXPECT_TRUE(m_Document.m_ModifiedSet.empty());
}

TEST_F(UndoMngr, AFullStackDeletesItsOldestSnapshot) {
    m_Manager.fnCreate(nullptr, 3, nullptr);
    for (int state = 0; state < 4; ++state)
        fnAdd(state, static_cast<unsigned long>(state) + 10);
    EXPECT_EQ(m_Lives, (States{1, 2, 3}));
    EXPECT_TRUE(m_Manager.fnCanUndo());
    unsigned long tag = 0;
    for (int state = 3; state > 0; --state) {
        EXPECT_EQ(fnUndo(100, &tag), state);
        EXPECT_EQ(tag, static_cast<unsigned long>(state) + 10) << "the tags move with them";
    }
    EXPECT_FALSE(m_Manager.fnCanUndo());
}

TEST_F(UndoMngr, WithOneLevelTheSecondSnapshotReplacesTheFirst) {
    m_Document.m_nModified = 1;
    m_Manager.fnCreate(&m_Document, 1, nullptr);
    fnAdd(1);
    fnAdd(2);
    EXPECT_EQ(m_Lives, (States{2}));
    EXPECT_EQ(fnUndo(3), 2);
    EXPECT_EQ(fnRedo(2), 3);
    EXPECT_EQ(m_Document.m_ModifiedSet, std::vector<bool>{}) << "one level tracks no document";
}

TEST_F(UndoMngr, AnUndoIntoAFullRedoStackDeletesItsOldest) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    fnAdd(0);
    fnAdd(1);
    fnUndo(12);
    fnUndo(11);
    fnAdd(20);
    EXPECT_EQ(m_Lives, (States{11, 12, 20}));
    EXPECT_EQ(fnUndo(30), 20);
    EXPECT_EQ(m_Lives, (States{11, 30}));
    EXPECT_EQ(fnRedo(40), 30) << "the new one lies on top";
    EXPECT_EQ(fnRedo(41), 11);
}

TEST_F(UndoMngr, ARedoIntoAFullUndoStackDeletesItsOldest) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    fnAdd(0);
    fnUndo(10);
    fnAdd(1);
    fnAdd(2);
    EXPECT_EQ(fnRedo(20), 10);
    EXPECT_EQ(m_Lives, (States{2, 20}));
    EXPECT_EQ(fnStateOf(m_Manager.fnPeekLastBuf(true)), 20);
}

TEST_F(UndoMngr, ANewChangeLeavesTheRedoStack) {
    m_Manager.fnCreate(nullptr, 3, &m_ToolBar);
    fnAdd(0);
    fnUndo(1);
    fnAdd(2);
    EXPECT_TRUE(m_Manager.fnCanRedo());
    EXPECT_TRUE(m_ToolBar.fnIsEnabled(kRedo));
    EXPECT_EQ(fnRedo(3), 1);
}

TEST_F(UndoMngr, FewerLevelsKeepTheOldestSnapshots) {
    m_Manager.fnCreate(nullptr, 5, nullptr);
    for (int state = 0; state < 4; ++state)
        fnAdd(state);
    EXPECT_TRUE(m_Manager.fnChangeLevel(2));
    EXPECT_EQ(m_Lives, (States{0, 1}));
    EXPECT_EQ(m_Manager.fnGetLevelNumber(), 2u);
    EXPECT_EQ(fnUndo(9), 1);
    EXPECT_EQ(fnUndo(8), 0);
    EXPECT_FALSE(m_Manager.fnCanUndo());
}

TEST_F(UndoMngr, FewerLevelsTrimTheRedoStackToo) {
    m_Manager.fnCreate(nullptr, 4, nullptr);
    for (int state = 0; state < 3; ++state)
        fnAdd(state);
    for (int state = 12; state >= 10; --state)
        fnUndo(state);
    EXPECT_TRUE(m_Manager.fnChangeLevel(1));
    EXPECT_EQ(m_Lives, (States{12})) << "12 was the first to be undone from";
    EXPECT_EQ(fnRedo(0), 12);
}

TEST_F(UndoMngr, MoreLevelsKeepEverything) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    fnAdd(0, 5);
    fnAdd(1, 6);
    EXPECT_TRUE(m_Manager.fnChangeLevel(4));
    fnAdd(2, 7);
    EXPECT_EQ(m_Lives, (States{0, 1, 2}));
    unsigned long tag = 0;
    fnUndo(9, &tag);
    EXPECT_EQ(tag, 7u);
    fnUndo(9, &tag);
    EXPECT_EQ(tag, 6u);
}

TEST_F(UndoMngr, ZeroLevelsEmptyBothStacks) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    fnAdd(0);
    EXPECT_TRUE(m_Manager.fnChangeLevel(0));
    EXPECT_TRUE(m_Lives.empty());
    EXPECT_FALSE(m_Manager.fnCanUndo());
    fnAdd(1);
    EXPECT_TRUE(m_Lives.empty()) << "a snapshot without a place goes at once";
    EXPECT_FALSE(m_Manager.fnCanUndo());
    EXPECT_TRUE(m_Manager.fnChangeLevel(1));
    fnAdd(2);
    EXPECT_EQ(fnUndo(3), 2);
}

TEST_F(UndoMngr, TheSameLevelsChangeNothing) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    fnAdd(0);
    CqAllocationFailure failure(1, true);
    EXPECT_TRUE(m_Manager.fnChangeLevel(2));
    EXPECT_FALSE(failure.fnHappened());
    failure.fnEnd();
    EXPECT_EQ(m_Lives, (States{0}));
}

TEST_F(UndoMngr, UndoingEverythingRestoresTheDocumentsFlag) {
    m_Manager.fnCreate(&m_Document, 2, nullptr);
    fnAdd(0);
    m_Document.m_nModified = 1;
    fnUndo(1);
    EXPECT_EQ(m_Document.m_ModifiedSet, (std::vector<bool>{false}));
    fnRedo(0);
    EXPECT_EQ(m_Document.m_ModifiedSet, (std::vector<bool>{false, true}));
}

TEST_F(UndoMngr, ADocumentThatWasModifiedStaysModified) {
    m_Document.m_nModified = 1;
    m_Manager.fnCreate(&m_Document, 2, nullptr);
    fnAdd(0);
    fnUndo(1);
    EXPECT_EQ(m_Document.m_ModifiedSet, (std::vector<bool>{true}));
}

TEST_F(UndoMngr, OnlyAnAnswerOfExactlyOneMeansModified) {
    m_Document.m_nModified = 2;
    m_Manager.fnCreate(&m_Document, 2, nullptr);
    fnAdd(0);
    EXPECT_FALSE(m_Manager.m_bDocModified);
    m_Document.m_nModified = 1;
    fnAdd(1);
    EXPECT_FALSE(m_Manager.m_bDocModified) << "it was taken when the stack left empty";
}

TEST_F(UndoMngr, TheFlagIsRestoredEvenWhenOldSnapshotsWereDropped) {
    m_Manager.fnCreate(&m_Document, 2, nullptr);
    for (int state = 0; state < 3; ++state)
        fnAdd(state);
    m_Document.m_nModified = 1;
    fnUndo(3);
    EXPECT_TRUE(m_Document.m_ModifiedSet.empty());
    fnUndo(2);
    EXPECT_EQ(m_Document.m_ModifiedSet, (std::vector<bool>{false}));
}

TEST_F(UndoMngr, ATagIsReturnedWithItsSnapshot) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    m_Manager.fnAddUndoBuf(fnMake(0), 0xFFFFFFFFu);
    unsigned long tag = 0;
    fnTake(m_Manager.fnUndo(fnMake(1), 77, &tag));
    EXPECT_EQ(tag, 0xFFFFFFFFu);
    fnTake(m_Manager.fnRedo(fnMake(0), 78, &tag));
    EXPECT_EQ(tag, 77u);
    fnTake(m_Manager.fnUndo(fnMake(1), 79, nullptr));
    fnTake(m_Manager.fnRedo(fnMake(0), 80, nullptr));
    EXPECT_EQ(m_Lives, (States{0}));
}

TEST_F(UndoMngr, ATagIsTruncatedTo32Bits) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    m_Manager.fnAddUndoBuf(fnMake(0), std::numeric_limits<unsigned long>::max());
    unsigned long tag = 0;
    fnUndo(1, &tag);
    EXPECT_EQ(tag, 0xFFFFFFFFu);
}

TEST_F(UndoMngr, SnapshotsMayBeNull) {
    m_Manager.fnCreate(nullptr, 1, nullptr);
    m_Manager.fnAddUndoBuf(nullptr, 1);
    m_Manager.fnAddUndoBuf(nullptr, 2);
    EXPECT_EQ(m_Manager.fnPeekLastBuf(true), nullptr);
    unsigned long tag = 0;
    EXPECT_EQ(m_Manager.fnUndo(nullptr, 3, &tag), nullptr);
    EXPECT_EQ(tag, 2u);
    m_Manager.fnRemoveAll();
    EXPECT_FALSE(m_Manager.fnCanRedo());
}

TEST_F(UndoMngr, PeekingLeavesTheSnapshotInItsStack) {
    m_Manager.fnCreate(nullptr, 3, nullptr);
    fnAdd(0);
    fnAdd(1);
    fnUndo(2);
    EXPECT_EQ(fnStateOf(m_Manager.fnPeekLastBuf(true)), 0);
    EXPECT_EQ(fnStateOf(m_Manager.fnPeekLastBuf(false)), 2);
    EXPECT_EQ(m_Lives, (States{0, 2}));
}

TEST_F(UndoMngr, TheButtonsFollowEachStep) {
    m_Manager.fnCreate(nullptr, 2, &m_ToolBar);
    m_ToolBar.fnClearMessages();
    fnAdd(0);
    EXPECT_EQ(m_ToolBar.fnGetMessages(), (std::vector<Message>{fnButton(kUndo, true)}));
    fnAdd(1);
    m_ToolBar.fnClearMessages();
    fnUndo(2);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, true), fnButton(kRedo, true)}));
    m_ToolBar.fnClearMessages();
    fnUndo(1);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, false), fnButton(kRedo, true)}));
    m_ToolBar.fnClearMessages();
    fnRedo(0);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, true), fnButton(kRedo, true)}));
    m_ToolBar.fnClearMessages();
    fnRedo(1);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, true), fnButton(kRedo, false)}));
}

TEST_F(UndoMngr, FewerLevelsLeaveTheButtonsUnchanged) {
    m_Manager.fnCreate(nullptr, 2, &m_ToolBar);
    fnAdd(0);
    m_ToolBar.fnClearMessages();
    m_Manager.fnChangeLevel(0);
    EXPECT_FALSE(m_Manager.fnCanUndo());
    EXPECT_TRUE(m_ToolBar.fnGetMessages().empty());
    EXPECT_TRUE(m_ToolBar.fnIsEnabled(kUndo));
}

TEST_F(UndoMngr, CreatingAgainDisablesTheButtonsEvenWithSomethingToUndo) {
    m_Manager.fnCreate(nullptr, 2, &m_ToolBar);
    fnAdd(0);
    m_Manager.fnCreate(nullptr, 2, &m_ToolBar);
    EXPECT_TRUE(m_Manager.fnCanUndo());
    EXPECT_FALSE(m_ToolBar.fnIsEnabled(kUndo));
}

TEST_F(UndoMngr, ASnapshotTakenAtOneLevelRestoresAnEarlierFlag) {
    m_Document.m_nModified = 1;
    m_Manager.fnCreate(&m_Document, 1, nullptr);
    fnAdd(0);
    m_Manager.fnChangeLevel(2);
    fnUndo(1);
    EXPECT_EQ(m_Document.m_ModifiedSet, (std::vector<bool>{false})) << "none was ever kept";
}

TEST_F(UndoMngr, RemovingAllDeletesEverythingAndLeavesTheDocument) {
    m_Manager.fnCreate(&m_Document, 3, &m_ToolBar);
    fnAdd(0);
    fnAdd(1);
    fnUndo(2);
    m_ToolBar.fnClearMessages();
    m_Manager.fnRemoveAll();
    EXPECT_TRUE(m_Lives.empty());
    EXPECT_FALSE(m_Manager.fnCanUndo());
    EXPECT_FALSE(m_Manager.fnCanRedo());
    EXPECT_EQ(m_Manager.fnGetLevelNumber(), 3u);
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, false), fnButton(kRedo, false)}));
    EXPECT_TRUE(m_Document.m_ModifiedSet.empty());
}

TEST_F(UndoMngr, RemovingAllDoesNotCallAToolBarWhoseWindowIsGone) {
    m_Manager.fnCreate(nullptr, 3, &m_ToolBar);
    fnAdd(0);
    m_ToolBar.fnClearMessages();
    m_ToolBar.fnDestroy();
    m_Manager.fnRemoveAll();
    EXPECT_TRUE(m_ToolBar.fnGetMessages().empty());
    EXPECT_TRUE(m_Lives.empty());
}

TEST_F(UndoMngr, TheDestructorDoesNotCallAToolBarWhoseWindowIsGone) {
    {
        CqUndoMngr manager;
        manager.fnCreate(nullptr, 3, &m_ToolBar);
        manager.fnAddUndoBuf(fnMake(0), 0);
        m_ToolBar.fnClearMessages();
        m_ToolBar.fnDestroy();
    }
    EXPECT_TRUE(m_ToolBar.fnGetMessages().empty());
    EXPECT_TRUE(m_Lives.empty());
}

TEST_F(UndoMngr, RemovingAllFromEmptyStacksStillDisablesTheButtons) {
    m_Manager.fnCreate(nullptr, 1, &m_ToolBar);
    m_ToolBar.fnClearMessages();
    m_Manager.fnRemoveAll();
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, false), fnButton(kRedo, false)}));
    m_Manager.fnChangeLevel(0);
    m_ToolBar.fnClearMessages();
    m_Manager.fnRemoveAll();
    EXPECT_TRUE(m_ToolBar.fnGetMessages().empty()) << "without levels nothing happens";
}

TEST_F(UndoMngr, CreatingAgainTakesAnotherDocumentAndKeepsTheStacks) {
    CqHeadlessDocument other;
    m_Manager.fnCreate(&m_Document, 3, nullptr);
    fnAdd(0);
    fnAdd(1);
    EXPECT_TRUE(m_Manager.fnCreate(&other, 2, &m_ToolBar));
    EXPECT_EQ(m_Lives, (States{0, 1}));
    fnUndo(2);
    fnUndo(1);
    EXPECT_TRUE(m_Document.m_ModifiedSet.empty());
    EXPECT_EQ(other.m_ModifiedSet, (std::vector<bool>{false}));
}

TEST_F(UndoMngr, TheDestructorDeletesTheSnapshots) {
    {
        CqUndoMngr manager;
        manager.fnCreate(nullptr, 3, nullptr);
        manager.fnAddUndoBuf(fnMake(0), 0);
        manager.fnAddUndoBuf(fnMake(1), 0);
        fnTake(manager.fnUndo(fnMake(2), 0, nullptr));
    }
    EXPECT_TRUE(m_Lives.empty());
}

TEST_F(UndoMngr, MenuItemsFollowTheStacks) {
    m_Manager.fnCreate(nullptr, 3, nullptr);
    CqHeadlessCmdUI undo(kUndo);
    CqHeadlessCmdUI redo(kRedo);
    CqHeadlessCmdUI other(0xE12A);
    const auto update = [&] {
        m_Manager.fnUpdateMenu(&undo);
        m_Manager.fnUpdateMenu(&redo);
        m_Manager.fnUpdateMenu(&other);
    };
    update();
    EXPECT_FALSE(undo.m_bEnabled);
    EXPECT_FALSE(redo.m_bEnabled);
    fnAdd(0);
    update();
    EXPECT_TRUE(undo.m_bEnabled);
    EXPECT_FALSE(redo.m_bEnabled);
    fnUndo(1);
    update();
    EXPECT_FALSE(undo.m_bEnabled);
    EXPECT_TRUE(redo.m_bEnabled);
    EXPECT_EQ(other.m_nCalls, 0u);
}

TEST_F(UndoMngr, CreatingWithoutMemoryShowsAMessageAndLeavesNoLevels) {
    const std::size_t failures = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        OpenUndoMngr manager;
        m_World->m_pMessages->fnClearBoxes();
        const bool created = manager.fnCreate(nullptr, 3, nullptr);
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(created, !failed);
        EXPECT_EQ(manager.fnGetLevelNumber(), failed ? 0u : 3u);
        const auto& boxes = m_World->m_pMessages->fnGetBoxes();
        ASSERT_EQ(boxes.size(), failed ? 1u : 0u);
        if (failed) {
            EXPECT_EQ(boxes[0].m_szText.substr(0, 20), "Insufficient memory.");
        }
    });
    EXPECT_EQ(failures, 4u) << "four arrays";
}

TEST_F(UndoMngr, AFailedCreationStillDisablesTheButtons) {
    // More levels than any array can hold.
    EXPECT_FALSE(m_Manager.fnCreate(nullptr, 0xFFFFFFFFu, &m_ToolBar));
    EXPECT_EQ(m_ToolBar.fnGetMessages(),
              (std::vector<Message>{fnButton(kUndo, false), fnButton(kRedo, false)}));
    EXPECT_EQ(m_Manager.fnGetLevelNumber(), 0u);
    EXPECT_EQ(m_World->m_pMessages->fnGetBoxes().size(), 1u);
}

TEST_F(UndoMngr, MoreLevelsWithoutMemoryLeaveTheStacksUnchanged) {
    for (std::size_t nth = 1; nth <= 4; ++nth) {
        OpenUndoMngr manager;
        manager.fnCreate(nullptr, 2, nullptr);
        manager.fnAddUndoBuf(fnMake(0), 5);
        manager.fnAddUndoBuf(fnMake(1), 6);
        {
            CqAllocationFailure failure(nth);
            EXPECT_FALSE(manager.fnChangeLevel(100));
            EXPECT_TRUE(failure.fnHappened()) << nth;
        }
        EXPECT_EQ(manager.fnGetLevelNumber(), 2u);
        manager.fnAddUndoBuf(fnMake(2), 7);
        EXPECT_EQ(m_Lives, (States{1, 2})) << "still two levels";
        unsigned long tag = 0;
        fnTake(manager.fnUndo(nullptr, 0, &tag));
        EXPECT_EQ(tag, 7u);
    }
}

TEST_F(UndoMngr, FewerLevelsNeedNoMemory) {
    m_Manager.fnCreate(nullptr, 4, nullptr);
    for (int state = 0; state < 4; ++state)
        fnAdd(state);
    CqAllocationFailure failure(1, true);
    for (const unsigned int levels : {3u, 1u, 0u})
        EXPECT_TRUE(m_Manager.fnChangeLevel(levels));
    EXPECT_FALSE(failure.fnHappened());
}

TEST_F(UndoMngr, StepsNeedNoMemory) {
    m_Manager.fnCreate(nullptr, 2, nullptr);
    Snapshot* snapshots[] = {fnMake(0), fnMake(1), fnMake(2), fnMake(3)};
    CqAllocationFailure failure(1, true);
    for (Snapshot* snapshot : snapshots)
        m_Manager.fnAddUndoBuf(snapshot, 0);
    CObject* first = m_Manager.fnUndo(nullptr, 0, nullptr);
    CObject* second = m_Manager.fnRedo(first, 0, nullptr);
    EXPECT_EQ(second, nullptr);
    m_Manager.fnRemoveAll();
    EXPECT_FALSE(failure.fnHappened());
}
