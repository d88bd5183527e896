/// @file
/// The services of this system, settings, dumps and messages, with each call of the system failing
/// in turn.

#include "platforms/posix/CqPosixScratch_p.h"
#include "tests/faults/FaultTest.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
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

FaultOperation fnService(const char* name, std::function<bool()> work) {
    FaultOperation operation;
    operation.m_szName = name;
    operation.m_Work = std::move(work);
    operation.m_bService = true;
    return operation;
}

} // namespace

TEST(PlatformFaults, APlatformIsMadeOrRefusedWhateverFails) {
    const Folder folder;
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
    const Folder folder;
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
    const Folder folder;
    fnFailEachCall(folder, fnService("usable memory", [] { return q32PosixUsableMemory() != 0; }));
}

TEST(PlatformFaults, QueriesOfFilesSucceedOrFailCleanly) {
    const Folder folder;
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
    const Folder folder;
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
    const Folder folder;
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
    const Folder folder;
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("a");
    const std::string text(100000, 'x');
    for (const bool exists : {false, true}) {
        FaultOperation operation = fnService("replace a file", [&] {
            CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
            const auto made = files->fnOpenReplacement(name.c_str(), cause);
            return made &&
                   made->fnGetStream().fnWrite(text.data(), text.size()) == FILE_CAUSE_NONE &&
                   made->fnCommit() == FILE_CAUSE_NONE;
        });
        operation.m_Prepare = [&] {
            std::filesystem::remove(folder.fnPath("a"));
            if (exists)
                folder.fnWrite("a", "old");
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(folder.fnRead("a") == (done ? text : exists ? "old" : ""));
            return "";
        };
        operation.m_Clear = [&] { std::filesystem::remove(folder.fnPath("a")); };
        EXPECT_GT(fnFailEachCall(folder, operation).m_nRefused, 5u);
    }
}

TEST(PlatformFaults, ATextIsUpdatedOrKeptWhateverFails) {
    const Folder folder;
    const auto files = q32PosixPlatform().m_pFiles;
    const std::string name = folder.fnName("a");
    const std::string text(100000, 'x');
    for (const bool exists : {false, true}) {
        FaultOperation operation = fnService("update a text", [&] {
            return files->fnUpdateText(name.c_str(), [&](std::string& all) {
                all.assign(text);
                return true;
            });
        });
        operation.m_Prepare = [&] {
            std::filesystem::remove(folder.fnPath("a"));
            if (exists)
                folder.fnWrite("a", "old");
        };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(folder.fnRead("a") == (done ? text : exists ? "old" : ""));
            return "";
        };
        operation.m_Clear = [&] { std::filesystem::remove(folder.fnPath("a")); };
        EXPECT_GT(fnFailEachCall(folder, operation).m_nRefused, 5u);
    }
}

TEST(PlatformFaults, ASweepDeletesLeftoversOrLeavesThemForTheNext) {
    const Folder folder;
    const std::string path = folder.fnPath();
    FaultOperation operation =
        fnService("sweep", [&] { return q32PosixSweepScratchFiles(path.c_str()) == 2; });
    operation.m_Prepare = [&] {
        folder.fnWrite("~qd1.tmp", "left over");
        folder.fnWrite("~qd2.tmp", "left over");
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(!done || folder.fnCount() == 0);
        q32PosixSweepScratchFiles(path.c_str());
        Q32_WANT(folder.fnCount() == 0);
        return "";
    };
    fnFailEachCall(folder, operation);
}

TEST(PlatformFaults, BytesOfACrowdedViewStayWhateverAdviceFails) {
    const Folder folder;
    constexpr std::uint32_t kBytes = 9u << 20;
    constexpr std::uint32_t kPart = 1u << 20;
    for (const bool guarded : {false, true}) {
        ASSERT_TRUE(!guarded || q32::posix::ViewGuard::fnInstall());
        std::optional<CqPosixScratch> scratch;
        std::string name;
        CqFileHandle file = kNoFile;
        CqMappingHandle mapping = kNoMapping;
        char* view = nullptr;
        bool kept = true;
        const auto fill = [&](int round) {
            for (std::uint32_t at = 0; at < kBytes; at += kPart) {
                scratch->fnAdvise(VIEW_WRITE_NEXT, view + at, kPart);
                std::memset(view + at, round, kPart);
                scratch->fnAdvise(VIEW_DONE, view + at, kPart);
            }
            for (std::uint32_t at = kBytes; at != 0; at -= kPart) {
                scratch->fnAdvise(VIEW_READ_NEXT, view + at - kPart, kPart);
                kept = kept && view[at - kPart] == round && view[at - 1] == round;
            }
        };
        FaultOperation operation = fnService("a crowded view", [&] {
            if (!scratch->fnCreateName(folder.fnName().c_str(), "~qd", name))
                return false;
            file = scratch->fnOpen(name.c_str());
            if (file == kNoFile || !scratch->fnSetSize(file, kBytes))
                return false;
            file = scratch->fnReopen(file, name.c_str());
            if (file == kNoFile)
                return false;
            mapping = scratch->fnCreateMapping(file, kBytes);
            if (mapping == kNoMapping)
                return false;
            view = static_cast<char*>(scratch->fnMapView(mapping, kBytes));
            if (view)
                fill(1);
            return view != nullptr;
        });
        operation.m_Prepare = [&, guarded] {
            kept = true;
            name.reserve(200);
            scratch.emplace(
                std::make_shared<q32::posix::CodePage>(""), [] { return std::uint64_t{1} << 20; },
                guarded);
        };
        operation.m_Check = [&](bool) -> std::string {
            Q32_WANT(kept);
            return "";
        };
        operation.m_Clear = [&] {
            if (view)
                scratch->fnUnmapView(view, kBytes);
            scratch->fnCloseMapping(mapping);
            scratch->fnClose(file);
            if (!name.empty())
                scratch->fnDelete(name.c_str());
            scratch.reset();
            name.clear();
            file = kNoFile;
            mapping = kNoMapping;
            view = nullptr;
        };
        fnFailEachCall(folder, operation);
    }
}

class AttachedFaults : public FaultTest {};

TEST_F(AttachedFaults, SettingsAreWrittenOrKeptAndNoLineIsLost) {
    const std::string lines = "[Other]\r\nkeep=1\r\n[VMPolicy]\r\nMemPercent=50\r\nkeep=2\r\n";
    std::filesystem::create_directory(m_Folder.fnPath("config"));
    const auto policy = [](bool read) { return q32GetVMPolicy()->fnSerialize(read); };
    const auto screen = [](bool read) { return q32GetDisplayProperty()->fnSerialize(read); };
    q32GetVMPolicy()->fnSetMemUsage(70);
    for (const auto& serialize :
         {std::function<bool(bool)>(policy), std::function<bool(bool)>(screen)}) {
        FaultOperation operation;
        operation.m_szName = "write settings";
        operation.m_Prepare = [&] { m_Folder.fnWrite("config/Qkz.cfg", lines); };
        operation.m_Work = [&] { return serialize(false); };
        operation.m_Check = [&](bool) -> std::string {
            const std::string now = m_Folder.fnRead("config/Qkz.cfg");
            Q32_WANT(now.starts_with("[Other]\r\nkeep=1\r\n[VMPolicy]\r\nMemPercent="));
            Q32_WANT(now.find("\r\nkeep=2\r\n") != std::string::npos && now.ends_with("\r\n"));
            return "";
        };
        EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 5u);
        operation.m_szName = "read settings";
        operation.m_Work = [&] {
            serialize(true);
            return true;
        };
        operation.m_Check = [&](bool) -> std::string {
            Q32_WANT(m_Folder.fnRead("config/Qkz.cfg") == lines);
            return "";
        };
        fnFailEachCall(m_Folder, operation);
    }
}

TEST_F(AttachedFaults, ADumpIsSavedOrTheFailureIsRaised) {
    const std::string name = m_Folder.fnName("dump.txt");
    CqDumpBin dump;
    dump << "what is shown\n" << 17;
    FaultOperation operation;
    operation.m_szName = "save a dump";
    operation.m_Work = [&] {
        dump.fnFlush(name.c_str());
        return true;
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(!done || m_Folder.fnRead("dump.txt") == "what is shown\r\n17");
        return "";
    };
    operation.m_Clear = [&] { std::filesystem::remove(m_Folder.fnPath("dump.txt")); };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 5u);
}

TEST_F(AttachedFaults, TextsForTheUserAreMadeOrLeftOut) {
    m_Folder.fnWrite("a", "123");
    const std::string name = m_Folder.fnName("a");
    FaultOperation operation;
    operation.m_szName = "texts of files and disks";
    operation.m_Work = [&] {
        CqPowerStr text;
        text.fnFileSize(name.c_str());
        text.fnFileDateTime(name.c_str(), true, true);
        text.fnDiskSpace(name.c_str(), true);
        text.fnDiskSpaceRatio(name.c_str(), false);
        return true;
    };
    fnFailEachCall(m_Folder, operation);
    operation.m_szName = "messages";
    operation.m_Work = [] {
        q32ShowSysMsg(ENOENT);
        q32ShowMsg(-5, nullptr, "a file", nullptr, 0);
        return true;
    };
    fnFailEachCall(m_Folder, operation);
}

TEST_F(AttachedFaults, TemporaryFilesAreListedOrLeft) {
    m_Folder.fnWrite("~qd1.tmp", "left over");
    FaultOperation operation;
    operation.m_szName = "delete temporary files";
    operation.m_Work = [] {
        q32GetVMPolicy()->fnDeleteVMFiles();
        return true;
    };
    fnFailEachCall(m_Folder, operation);
}

} // namespace q32::test
