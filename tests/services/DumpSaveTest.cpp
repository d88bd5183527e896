/// @file
/// Saving the content of the dump window.

#include "tests/services/DumpTestTools.h"
#include "tests/support/FailingAllocator.h"

namespace {

constexpr UINT kSave = 16;

class DumpSave : public DumpTest {
protected:
    void SetUp() override {
        DumpTest::SetUp();
        ASSERT_TRUE(q32CreateDumpWnd());
        m_Dump << "what is shown\n";
    }
    void fnSaveAs(std::optional<std::string> name) {
        fnGetDesk().fnAnswerSave(std::move(name));
        EXPECT_TRUE(fnView()->fnChoose(kSave));
    }
    const CqHeadlessSaveDialog& fnDialog() const { return fnGetDesk().fnGetSaveDialogs().back(); }
    std::string fnFile(const char* name) const {
        return m_World->m_pDisks->fnGetFile(name).value_or("(none)");
    }

    OpenDumpBin m_Dump;
};

} // namespace

TEST_F(DumpSave, TheDialogSelectsATextFile) {
    fnSaveAs(std::nullopt);
    EXPECT_EQ(fnDialog().m_szDefaultExtension, "txt");
    EXPECT_EQ(fnDialog().m_nFlags, 0x80006u);
    EXPECT_EQ(fnDialog().m_Filters, (std::vector<std::pair<std::string, std::string>>{
                                        {"Plain Text File (txt)", "*.txt"}}));
    EXPECT_EQ(fnDialog().m_Folder, std::nullopt);
    EXPECT_TRUE(fnGetBoxes().empty()) << "cancelled: nothing happens";
}

TEST_F(DumpSave, TheTextOfTheWindowIsSaved) {
    m_World->m_pDisks->fnPutFile("C:\\log.txt", "a longer text that was there before");
    fnSaveAs("C:\\log.txt");
    EXPECT_EQ(fnFile("C:\\log.txt"), "what is shown\r\n");
    fnSaveAs("C:\\Temp\\named");
    EXPECT_EQ(fnFile("C:\\Temp\\named.txt"), "what is shown\r\n");
}

TEST_F(DumpSave, TextShownByADestroyedStreamCanBeSaved) {
    {
        CqDumpBin ended;
        ended << "last words";
    }
    fnSaveAs("C:\\log.txt");
    EXPECT_EQ(fnFile("C:\\log.txt"), "last words");
}

TEST_F(DumpSave, TheNextDialogStartsInTheFolderOfTheLastSave) {
    fnSaveAs("C:\\Temp\\log.txt");
    fnSaveAs(std::nullopt);
    EXPECT_EQ(fnDialog().m_Folder, "C:\\Temp\\");
    q32DestroyDumpWnd();
    EXPECT_NE(m_World->fnGetSettings()->find("PrefDir=C:\\Temp\\\r\n"), std::string::npos);
    ASSERT_TRUE(q32CreateDumpWnd());
    fnSaveAs(std::nullopt);
    EXPECT_EQ(fnDialog().m_Folder, "C:\\Temp\\") << "it survives in the settings";
}

TEST_F(DumpSave, AFileInUseIsReportedByMessage7) {
    for (const CQ_FILE_CAUSE cause : {FILE_CAUSE_SHARING_VIOLATION, FILE_CAUSE_LOCK_VIOLATION}) {
        m_World->m_pMessages->fnClearBoxes();
        m_World->m_pDisks->fnFailCreate("C:\\log.txt", cause);
        fnSaveAs("C:\\log.txt");
        ASSERT_EQ(fnGetBoxes().size(), 1u);
        EXPECT_EQ(fnGetBoxes()[0].m_szText,
                  "Unable to open the file [C:\\log.txt] that is accessed "
                  "by the other programs.");
        EXPECT_EQ(fnGetBoxes()[0].fnGetIcon(), MB_ICONHAND);
    }
}

TEST_F(DumpSave, AFileOpenedElsewhereIsInUse) {
    m_World->m_pDisks->fnPutFile("C:\\log.txt", "theirs");
    const CFile theirs("C:\\log.txt", CFile::modeRead | CFile::shareDenyNone);
    fnSaveAs("C:\\log.txt");
    ASSERT_EQ(fnGetBoxes().size(), 1u);
    EXPECT_NE(fnGetBoxes()[0].m_szText.find("accessed by the other programs"), std::string::npos);
    EXPECT_EQ(fnFile("C:\\log.txt"), "theirs");
}

TEST_F(DumpSave, AnyOtherFailureIsReportedByMessage5) {
    const auto wants = [&](const char* what, const std::string& name = "C:\\log.txt") {
        ASSERT_EQ(fnGetBoxes().size(), 1u) << what;
        EXPECT_EQ(fnGetBoxes()[0].m_szText, "Unable to save the file [" + name + "].") << what;
        EXPECT_EQ(fnGetBoxes()[0].fnGetIcon(), MB_ICONHAND) << what;
        m_World->m_pMessages->fnClearBoxes();
    };
    for (int cause = 1; cause <= 14; ++cause) {
        if (cause == FILE_CAUSE_SHARING_VIOLATION || cause == FILE_CAUSE_LOCK_VIOLATION)
            continue;
        m_World->m_pDisks->fnFailCreate("C:\\log.txt", static_cast<CQ_FILE_CAUSE>(cause));
        fnSaveAs("C:\\log.txt");
        wants(std::to_string(cause).c_str());
    }
    m_World->m_pDisks->fnFailCreate("C:\\log.txt", FILE_CAUSE_NONE);
    m_World->m_pFiles->m_pStream->m_Write.fnFail();
    fnSaveAs("C:\\log.txt");
    wants("write");
    m_World->m_pFiles->m_pStream->m_Close.fnFail();
    fnSaveAs("C:\\log.txt");
    wants("close");
    m_World->m_pDisks->fnSetFree("C:\\", 3);
    fnSaveAs("C:\\new.txt");
    wants("full disk", "C:\\new.txt");
}

TEST_F(DumpSave, AFailedSaveLeavesTheFolderUnchanged) {
    fnSaveAs("C:\\Temp\\log.txt");
    m_World->m_pDisks->fnFailCreate("C:\\log.txt", FILE_CAUSE_ACCESS_DENIED);
    fnSaveAs("C:\\log.txt");
    fnSaveAs(std::nullopt);
    EXPECT_EQ(fnDialog().m_Folder, "C:\\Temp\\");
}

TEST_F(DumpSave, WithoutMemoryMessage1IsShown) {
    std::size_t notified = 0;
    for (std::size_t nth = 1;; ++nth) {
        fnGetDesk().fnAnswerSave("C:\\Temp\\a file with a long name.txt");
        m_World->m_pMessages->fnClearBoxes();
        CqAllocationFailure failure(nth);
        EXPECT_TRUE(fnView()->fnChoose(kSave));
        const bool failed = failure.fnHappened();
        failure.fnEnd();
        if (!failed)
            break;
        ASSERT_LE(fnGetBoxes().size(), 1u) << nth;
        if (!fnGetBoxes().empty()) {
            ++notified;
            EXPECT_EQ(fnGetBoxes()[0].m_szText.substr(0, 20), "Insufficient memory.") << nth;
        }
    }
    EXPECT_GT(notified, 5u);
    EXPECT_EQ(fnFile("C:\\Temp\\a file with a long name.txt"), "what is shown\r\n");
}

TEST_F(DumpSave, AWindowMayBeDestroyedWhileItsDialogIsOpen) {
    fnGetDesk().m_OnSaveDialog = [](const CqHeadlessSaveDialog&) {
        q32DestroyDumpWnd();
        CqDumpBin other;
        other << "to nobody";
        EXPECT_TRUE(q32CreateDumpWnd());
        other << ", to the new one";
    };
    fnSaveAs("C:\\log.txt");
    fnGetDesk().m_OnSaveDialog = nullptr;
    EXPECT_EQ(fnFile("C:\\log.txt"), "what is shown\r\n");
    ASSERT_NE(fnView(), nullptr);
    EXPECT_EQ(fnView()->fnGetText(), "to nobody, to the new one");
    q32DestroyDumpWnd();
    EXPECT_EQ(fnView(), nullptr);
}

TEST_F(DumpSave, ALibraryThatIsStoppedWhileADialogIsOpenSavesNothing) {
    fnGetDesk().m_OnSaveDialog = [](const CqHeadlessSaveDialog&) { q32Detach(); };
    fnSaveAs("C:\\log.txt");
    fnGetDesk().m_OnSaveDialog = nullptr;
    EXPECT_EQ(fnFile("C:\\log.txt"), "(none)");
    EXPECT_EQ(fnView(), nullptr);
    EXPECT_TRUE(fnGetBoxes().empty());
    ASSERT_TRUE(q32Attach(m_World->fnPlatform()));
}

TEST_F(DumpSave, AWindowMayBeClosedWhileItsDialogIsOpen) {
    fnGetDesk().m_OnSaveDialog = [this](const CqHeadlessSaveDialog&) {
        fnView()->fnClose();
        fnView()->fnClose();
    };
    fnSaveAs("C:\\log.txt");
    fnGetDesk().m_OnSaveDialog = nullptr;
    EXPECT_EQ(fnFile("C:\\log.txt"), "what is shown\r\n");
    EXPECT_EQ(fnView(), nullptr);
}
