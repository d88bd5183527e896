#include "tests/platforms/Win32TestTools.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace q32::test;

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::shared_ptr<CqScratchService> fnScratch() {
    CqWin32Options options;
    options.m_nCodePage = CP_UTF8;
    return q32Win32Platform(q32Win32Windows(), options).m_pScratch;
}

class Win32Scratch : public testing::Test {
protected:
    std::string fnCreate() {
        std::string name;
        EXPECT_TRUE(m_pScratch->fnCreateName(m_Folder.fnPath().c_str(), "~qd", name));
        return name;
    }
    /// What another program gets that opens a file.
    static DWORD fnOpenError(const std::string& name, DWORD access) {
        const std::wstring path(name.begin(), name.end());
        const HANDLE file =
            ::CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return ::GetLastError();
        ::CloseHandle(file);
        return ERROR_SUCCESS;
    }
    /// Bytes of the disk that a file takes.
    static LONGLONG fnGetAllocated(const std::string& name) {
        const std::wstring path(name.begin(), name.end());
        const HANDLE file = ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                          OPEN_EXISTING, 0, nullptr);
        FILE_STANDARD_INFO info{};
        EXPECT_TRUE(::GetFileInformationByHandleEx(file, FileStandardInfo, &info, sizeof(info)));
        ::CloseHandle(file);
        return info.AllocationSize.QuadPart;
    }

    Folder m_Folder;
    std::shared_ptr<CqScratchService> m_pScratch = fnScratch();
};

/// Makes a buffer in a file, writes to it, and is killed.
const ChildWork kKilledWithBuffer("buffer", [](const std::string& directory) {
    const auto scratch = fnScratch();
    std::string name;
    bool done = scratch->fnCreateName(directory.c_str(), "~qd", name);
    const CqFileHandle file = scratch->fnOpen(name.c_str());
    done = done && file != kNoFile && scratch->fnSetSize(file, 100'000);
    void* const view = scratch->fnMapView(scratch->fnCreateMapping(file, 100'000), 100'000);
    if (view)
        std::memset(view, 7, 100'000);
    ::TerminateProcess(::GetCurrentProcess(), done && view ? 42 : 1);
});

TEST_F(Win32Scratch, NobodyElseOpensAFileWhileItLives) {
    const std::string name = fnCreate();
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, DWORD{DELETE}})
        EXPECT_EQ(fnOpenError(name, access), DWORD{ERROR_SHARING_VIOLATION}) << access;
    EXPECT_EQ(fnScratch()->fnOpen(name.c_str()), kNoFile) << "another service";
    EXPECT_FALSE(fnScratch()->fnDelete(name.c_str()));
    EXPECT_EQ(q32Win32SweepScratchFiles(m_Folder.fnPath().c_str()), 0u);
    EXPECT_TRUE(m_pScratch->fnDelete(name.c_str()));
    EXPECT_TRUE(m_Folder.fnList().empty());
}

TEST_F(Win32Scratch, AKilledProcessLeavesNoFile) {
    EXPECT_TRUE(kKilledWithBuffer.fnRun(m_Folder.fnPath()));
    EXPECT_TRUE(m_Folder.fnList().empty());
}

TEST_F(Win32Scratch, TheEndOfTheServiceDeletesItsFiles) {
    fnCreate();
    const std::string open = fnCreate();
    EXPECT_NE(m_pScratch->fnOpen(open.c_str()), kNoFile);
    m_pScratch.reset();
    EXPECT_TRUE(m_Folder.fnList().empty());
}

TEST_F(Win32Scratch, ASizeIsReservedOnTheDisk) {
    const std::string name = fnCreate();
    const CqFileHandle file = m_pScratch->fnOpen(name.c_str());
    for (const std::uint32_t size : {1u, 3'000'001u, 5'000'000u}) {
        ASSERT_TRUE(m_pScratch->fnSetSize(file, size));
        EXPECT_GE(fnGetAllocated(name), LONGLONG{size});
    }
    m_pScratch->fnClose(file);
    EXPECT_TRUE(m_pScratch->fnDelete(name.c_str()));
}

TEST_F(Win32Scratch, AFileInUseIsNotDeleted) {
    const std::string name = fnCreate();
    const CqFileHandle file = m_pScratch->fnOpen(name.c_str());
    ASSERT_TRUE(m_pScratch->fnSetSize(file, 10));
    const CqMappingHandle mapping = m_pScratch->fnCreateMapping(file, 10);
    EXPECT_FALSE(m_pScratch->fnDelete(name.c_str()));
    m_pScratch->fnClose(file);
    EXPECT_FALSE(m_pScratch->fnDelete(name.c_str())) << "its mapping is open";
    EXPECT_EQ(m_pScratch->fnOpen(name.c_str()), kNoFile) << "likewise";
    m_pScratch->fnCloseMapping(mapping);
    EXPECT_TRUE(m_pScratch->fnDelete(name.c_str()));
    EXPECT_FALSE(m_pScratch->fnDelete(name.c_str()));
}

TEST_F(Win32Scratch, AFileOfAnotherNameOrAnotherProgramIsOpenedIfNobodyHasIt) {
    fnWriteFile(m_Folder.fnWide(L"left.tmp"), "left");
    const std::string name = m_Folder.fnPath("left.tmp");
    const CqFileHandle file = m_pScratch->fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    EXPECT_EQ(m_pScratch->fnOpen(name.c_str()), kNoFile);
    m_pScratch->fnClose(file);
    EXPECT_EQ(m_Folder.fnList().size(), 1u) << "closing deletes only own files";
    EXPECT_TRUE(m_pScratch->fnDelete(name.c_str()));
    EXPECT_TRUE(m_Folder.fnList().empty());
}

TEST_F(Win32Scratch, AFileWithASecondNameIsNotOpened) {
    fnWriteFile(m_Folder.fnWide(L"one.tmp"), "");
    ASSERT_TRUE(::CreateHardLinkW(m_Folder.fnWide(L"two.tmp").c_str(),
                                  m_Folder.fnWide(L"one.tmp").c_str(), nullptr));
    EXPECT_EQ(m_pScratch->fnOpen(m_Folder.fnPath("one.tmp").c_str()), kNoFile);
}

TEST_F(Win32Scratch, NamesAreThoseOfTheSystemWhateverTheirCaseAndForm) {
    std::string name = fnCreate();
    const std::size_t start = name.rfind('\\') + 1;
    name.replace(start, 3, "~QD");
    name.insert(start, ".\\");
    const CqFileHandle file = m_pScratch->fnOpen(name.c_str());
    ASSERT_NE(file, kNoFile);
    const CqFileHandle again = m_pScratch->fnReopen(file, name.c_str());
    ASSERT_NE(again, kNoFile);
    m_pScratch->fnClose(again);
    EXPECT_TRUE(m_pScratch->fnDelete(name.c_str()));
}

TEST_F(Win32Scratch, TheSweepDeletesScratchFilesThatNobodyHasOpen) {
    const std::string own = fnCreate();
    for (const wchar_t* name : {L"~qd1.tmp", L"~QD2.TMP", L"~qd.txt", L"x~qd3.tmp"})
        fnWriteFile(m_Folder.fnWide(name), "");
    ASSERT_TRUE(::CreateDirectoryW(m_Folder.fnWide(L"~qd4.tmp").c_str(), nullptr));
    const std::string folders[] = {"", m_Folder.fnPath(), m_Folder.fnPath("missing")};
    EXPECT_EQ(q32Win32SweepScratchFiles(folders), 2u);
    EXPECT_EQ(m_Folder.fnList().size(), 4u) << "two names, a directory, and the file in use";
    std::string bare = m_Folder.fnPath();
    bare.pop_back();
    EXPECT_EQ(q32Win32SweepScratchFiles(bare.c_str()), 0u);
    EXPECT_TRUE(m_pScratch->fnDelete(own.c_str()));
}

TEST_F(Win32Scratch, TheSweepTakesAPathInTheCodePage) {
    ASSERT_TRUE(::CreateDirectoryW(m_Folder.fnWide(L"\u00E4").c_str(), nullptr));
    for (const auto& [codePage, name] :
         {std::pair<UINT, const char*>{CP_UTF8, "\xC3\xA4"}, {1252, "\xE4"}}) {
        fnWriteFile(m_Folder.fnWide(L"\u00E4\\~qd1.tmp"), "");
        const std::string folders[] = {m_Folder.fnPath(name)};
        EXPECT_EQ(q32Win32SweepScratchFiles(folders, codePage == 1252 ? CP_UTF8 : 1252), 0u);
        EXPECT_EQ(q32Win32SweepScratchFiles(folders, codePage), 1u);
    }
}

} // namespace
