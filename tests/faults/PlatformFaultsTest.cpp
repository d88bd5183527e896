/// @file
/// The platform of this system and its files, with each call of the system failing in turn.

#include "tests/faults/FaultTest.h"

#include <cstdlib>
#include <filesystem>
#include <optional>

namespace q32::test {
namespace {

/// An environment variable with another value, or none.
class Variable {
public:
    Variable(const char* name, const char* value) : m_szName(name) {
        if (const char* const before = std::getenv(name))
            m_Before = before;
        fnSet(value);
    }
    ~Variable() { fnSet(m_Before ? m_Before->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void fnSet(const char* value) const {
        value ? ::setenv(m_szName, value, 1) : ::unsetenv(m_szName);
    }

    const char* m_szName;
    std::optional<std::string> m_Before;
};

/// Fails each call of `replace`, which gives the file of a name a text: of a file that doesn't
/// exist yet, and of one that does. The file has either its old or its new contents.
template <typename Replace>
void fnFailReplacing(const char* what, const Replace& replace) {
    const Folder folder{kFaultRoot};
    const std::string name = folder.fnName("a");
    const std::string text(100000, 'x');
    const auto remove = [&] { std::filesystem::remove(folder.fnPath("a")); };
    for (const bool exists : {false, true}) {
        FaultOperation operation = fnService(what, [&] { return replace(name, text); });
        operation.m_Prepare = [&] {
            remove();
            if (exists)
                folder.fnWrite("a", "old");
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(folder.fnRead("a") == (done ? text : exists ? "old" : ""));
            return "";
        };
        operation.m_Clear = remove;
        EXPECT_GT(fnFailEachCall(folder, operation).m_nRefused, 5u);
    }
}

} // namespace

TEST(PlatformFaults, APlatformIsMadeOrRefusedWhateverFails) {
    const Folder folder{kFaultRoot};
    const Variable temp("TMPDIR", folder.fnPath().c_str());
    const Variable config("XDG_CONFIG_HOME", nullptr);
    const Variable home("HOME", nullptr);
    CqPosixOptions options;
    options.m_Report = [](const std::string&) {};
    std::optional<CqPlatform> platform;
    FaultOperation operation = fnService("make a platform", [&] {
        platform = q32PosixPlatform(options);
        return true;
    });
    operation.m_bLosesBlocks = true; // newlocale
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(!done || platform->fnIsComplete());
        std::string directory;
        Q32_WANT(!done || platform->m_pFiles->fnGetTempDirectory(directory));
        return "";
    };
    operation.m_Clear = [&] { platform.reset(); };
    fnFailEachCall(folder, operation);
}

TEST(PlatformFaults, TheLibraryIsAttachedOrNotWhateverFails) {
    const Folder folder{kFaultRoot};
    CqPosixOptions options;
    options.m_szTempDirectory = folder.fnPath();
    options.m_szConfigDirectory = folder.fnPath();
    folder.fnWrite("Qkz.cfg", "[VMPolicy]\r\nMemPercent=50\r\n");
    const CqPlatform platform = q32PosixPlatform(options);
    FaultOperation operation;
    operation.m_szName = "attach";
    operation.m_Work = [&] { return q32Attach(platform); };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(done == (q32GetVMPolicy() != nullptr && q32::fnHasPlatform()));
        return "";
    };
    operation.m_Clear = [] { q32Detach(); };
    fnFailEachCall(folder, operation);
}

TEST(PlatformFaults, AskingForUsableMemoryNeverFailsForAFile) {
    const Folder folder{kFaultRoot};
    fnFailEachCall(folder, fnService("usable memory", [] { return q32PosixUsableMemory() != 0; }));
}

TEST(PlatformFaults, QueriesOfFilesSucceedOrFailCleanly) {
    const Folder folder{kFaultRoot};
    for (const char* name : {"a1.txt", "a2.txt", "b.txt"})
        folder.fnWrite(name, "123");
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string one = folder.fnName("b.txt");
    const std::string mask = folder.fnName("a*.txt");
    FaultOperation find =
        fnService("find files", [&] { return files->fnFind(mask.c_str()).size() == 2; });
    fnFailEachCall(folder, find);
    fnFailEachCall(folder, fnService("exists", [&] { return files->fnExists(one.c_str()); }));
    for (const bool exclusive : {false, true})
        fnFailEachCall(folder, fnService("file info", [&] {
                           CqFileInfo info;
                           return files->fnGetInfo(one.c_str(), exclusive, info) &&
                                  info.m_nSize == 3;
                       }));
    fnFailEachCall(folder, fnService("disk space", [&] {
                       CqDiskSpace space;
                       return files->fnGetSpace(one.c_str(), space) && space.m_nTotal != 0;
                   }));
    fnFailEachCall(folder, fnService("disk clusters", [&] {
                       CqDiskClusters clusters;
                       return files->fnGetClusters(one.c_str(), clusters);
                   }));
    fnFailEachCall(folder, fnService("read a text", [&] {
                       std::string text;
                       return files->fnReadText(one.c_str(), text) && text == "123";
                   }));
}

TEST(PlatformFaults, AFileIsDeletedOrStaysWhateverFails) {
    const Folder folder{kFaultRoot};
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("a");
    FaultOperation operation =
        fnService("delete a file", [&] { return files->fnDelete(name.c_str()); });
    operation.m_Prepare = [&] { folder.fnWrite("a", "123"); };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(folder.fnRead("a") == (done ? "" : "123"));
        return "";
    };
    operation.m_Clear = [&] { std::filesystem::remove(folder.fnPath("a")); };
    fnFailEachCall(folder, operation);

    operation =
        fnService("make a directory", [&] { return files->fnCreateDirectory(name.c_str()); });
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(std::filesystem::is_directory(folder.fnPath("a")) == done);
        return "";
    };
    operation.m_Clear = [&] { std::filesystem::remove(folder.fnPath("a")); };
    fnFailEachCall(folder, operation);
}

TEST(PlatformFaults, AStreamReadsWhatItWroteOrFails) {
    const Folder folder{kFaultRoot};
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("a");
    const std::string text(300000, 'x');
    std::string back(text.size(), '\0');
    bool opened = false;
    FaultOperation operation = fnService("write and read a stream", [&] {
        CqFileMode mode;
        mode.m_bWrite = mode.m_bCreate = mode.m_bExclusive = true;
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const auto stream = files->fnOpen(name.c_str(), mode, cause);
        opened = stream != nullptr;
        std::uint64_t length = 0;
        std::size_t done = 0;
        return stream && stream->fnWrite(text.data(), text.size()) == FILE_CAUSE_NONE &&
               stream->fnGetLength(length) == FILE_CAUSE_NONE && length == text.size() &&
               stream->fnSeek(0) == FILE_CAUSE_NONE &&
               stream->fnRead(back.data(), back.size(), done) == FILE_CAUSE_NONE &&
               stream->fnClose() == FILE_CAUSE_NONE;
    });
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(!done || (back == text && folder.fnRead("a") == text));
        Q32_WANT(opened || folder.fnCount() == 0);
        return "";
    };
    operation.m_Clear = [&] {
        back.assign(text.size(), '\0');
        opened = false;
        std::filesystem::remove(folder.fnPath("a"));
    };
    fnFailEachCall(folder, operation);
}

TEST(PlatformFaults, AReplacementIsWholeOrNothingWhateverFails) {
    const auto files = q32PosixPlatform().m_pFiles;
    fnFailReplacing("replace a file", [&](const std::string& name, const std::string& text) {
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        const auto made = files->fnOpenReplacement(name.c_str(), cause);
        return made && made->fnGetStream().fnWrite(text.data(), text.size()) == FILE_CAUSE_NONE &&
               made->fnCommit() == FILE_CAUSE_NONE;
    });
}

TEST(PlatformFaults, ATextIsUpdatedOrKeptWhateverFails) {
    const auto files = q32PosixPlatform().m_pFiles;
    fnFailReplacing("update a text", [&](const std::string& name, const std::string& text) {
        return files->fnUpdateText(name.c_str(), [&](std::string& all) {
            all.assign(text);
            return true;
        });
    });
}

} // namespace q32::test
