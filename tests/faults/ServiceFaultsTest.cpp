/// @file
/// Scratch files, settings, dumps and texts for the user, with each call of the system failing in
/// turn.

#include "platforms/posix/CqPosixScratch_p.h"
#include "tests/faults/FaultTest.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

namespace q32::test {
namespace {

TEST(ScratchFaults, ASweepDeletesLeftoversOrLeavesThemForTheNext) {
    const Folder folder{kFaultRoot};
    const std::string path = folder.fnPath();
    FaultOperation operation;
    operation.m_szName = "sweep";
    operation.m_bLosesBlocks = true; // newlocale
    operation.m_Work = [&] { return q32PosixSweepScratchFiles(path.c_str()) == 2; };
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

TEST(ScratchFaults, BytesOfACrowdedViewStayWhateverAdviceFails) {
    const Folder folder{kFaultRoot};
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

} // namespace
} // namespace q32::test
