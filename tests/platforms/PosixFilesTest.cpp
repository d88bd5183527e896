#include "tests/platforms/PosixTestTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>

using namespace q32::test;
using testing::ElementsAre;

namespace {

std::shared_ptr<CqFileService> fnFiles(const CqPosixOptions& options = {}) {
    return q32PosixPlatform(options).m_pFiles;
}

/// Sets environment variables, and restores them.
class Environment {
public:
    struct Variable {
        const char* m_szName;
        std::optional<std::string> m_Value; ///< none: unset
    };

    Environment(std::initializer_list<Variable> variables) {
        for (const Variable& variable : variables) {
            const char* const before = std::getenv(variable.m_szName);
            m_Before[variable.m_szName] =
                before ? std::optional<std::string>(before) : std::nullopt;
            fnSet(variable.m_szName, variable.m_Value);
        }
    }
    ~Environment() {
        for (const auto& [name, value] : m_Before)
            fnSet(name, value);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    static void fnSet(const std::string& name, const std::optional<std::string>& value) {
        if (value)
            ::setenv(name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(name.c_str());
    }
    std::map<std::string, std::optional<std::string>> m_Before;
};

std::string fnTemp(const CqPosixOptions& options = {}) {
    std::string directory;
    return fnFiles(options)->fnGetTempDirectory(directory) ? directory : "(none)";
}

std::string fnConfig(const CqPosixOptions& options = {}) {
    std::string directory;
    return fnFiles(options)->fnGetConfigDirectory(directory) ? directory : "(none)";
}

mode_t fnMode(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

} // namespace

TEST(PosixFiles, TemporaryFilesGoToTheHostsOrTheUsersDirectoryElseToVarTmp) {
    const Environment unset{{"TMPDIR", std::nullopt}};
    EXPECT_EQ(fnTemp(), "/var/tmp\\");
    const Environment set{{"TMPDIR", "/srv/scratch"}};
    EXPECT_EQ(fnTemp(), "/srv/scratch\\");
    CqPosixOptions options;
    options.m_szTempDirectory = "/srv/own";
    EXPECT_EQ(fnTemp(options), "/srv/own\\");
}

TEST(PosixFiles, ADirectoryEndsInOneBackslashHoweverItWasGiven) {
    CqPosixOptions options;
    for (const char* given : {"/a/b", "/a/b/", "/a/b\\", "/a/b//\\"}) {
        options.m_szTempDirectory = options.m_szConfigDirectory = given;
        EXPECT_EQ(fnTemp(options), "/a/b\\") << given;
        EXPECT_EQ(fnConfig(options), "/a/b\\") << given;
    }
    options.m_szTempDirectory = "/";
    EXPECT_EQ(fnTemp(options), "\\");
}

TEST(PosixFiles, AnEmptyOrRelativeVariableIsIgnored) {
    for (const char* value : {"", "scratch"}) {
        const Environment set{{"TMPDIR", value}, {"XDG_CONFIG_HOME", value}, {"HOME", "/h"}};
        EXPECT_EQ(fnTemp(), "/var/tmp\\");
        EXPECT_EQ(fnConfig(), "/h/.config/q32Base\\");
    }
}

TEST(PosixFiles, SettingsGoToTheUsersConfigurationDirectory) {
    {
        const Environment set{{"XDG_CONFIG_HOME", "/x"}, {"HOME", "/h"}};
        EXPECT_EQ(fnConfig(), "/x/q32Base\\");
        CqPosixOptions options;
        options.m_szConfigDirectory = "/etc/own";
        EXPECT_EQ(fnConfig(options), "/etc/own\\");
    }
    const Environment unset{{"XDG_CONFIG_HOME", std::nullopt}, {"HOME", "/h"}};
    EXPECT_EQ(fnConfig(), "/h/.config/q32Base\\");
}

TEST(PosixFiles, WithoutAHomeInTheEnvironmentTheUserDatabaseIsRead) {
    const Environment unset{{"XDG_CONFIG_HOME", std::nullopt}, {"HOME", std::nullopt}};
    const char* const shell = "getent passwd $(id -u) | cut -d: -f6";
    std::string home;
    if (FILE* const pipe = ::popen(shell, "r")) {
        char line[4096] = "";
        if (std::fgets(line, sizeof line, pipe))
            home = std::string(line, std::strcspn(line, "\n"));
        ::pclose(pipe);
    }
    EXPECT_EQ(fnConfig(), home + "/.config/q32Base\\");
}

TEST(PosixFiles, TheFirstWriteCreatesTheSettingsDirectoryForItsOwnerOnly) {
    const Folder folder;
    const Environment set{{"XDG_CONFIG_HOME", folder.fnPath("deep/config")}};
    const auto files = fnFiles();
    const std::string name = fnConfig() + "Qkz.cfg";
    std::string text;
    EXPECT_FALSE(files->fnReadText(name.c_str(), text));
    EXPECT_EQ(folder.fnCount(), 0u) << "asking and reading make nothing";
    ASSERT_TRUE(files->fnUpdateText(name.c_str(), [](std::string& all) {
        all = "[VMPolicy]\n";
        return true;
    }));
    EXPECT_EQ(folder.fnRead("deep/config/q32Base/Qkz.cfg"), "[VMPolicy]\n");
    EXPECT_EQ(fnMode(folder.fnPath("deep")), 0700u);
    EXPECT_EQ(fnMode(folder.fnPath("deep/config/q32Base")), 0700u);
    EXPECT_EQ(fnMode(folder.fnPath("deep/config/q32Base/Qkz.cfg")), 0600u);
}

TEST(PosixFiles, FilesAndDirectoriesExistUnderEitherSeparator) {
    const Folder folder;
    folder.fnWrite("sea.bmp", "x");
    const auto files = fnFiles();
    EXPECT_TRUE(files->fnExists(folder.fnName("sea.bmp").c_str()));
    EXPECT_TRUE(files->fnExists(folder.fnPath("sea.bmp").c_str()));
    EXPECT_TRUE(files->fnExists(folder.fnName().c_str()));
    EXPECT_FALSE(files->fnExists(folder.fnName("land.bmp").c_str()));
    EXPECT_FALSE(files->fnExists(folder.fnName("sea.bmp\\").c_str())) << "a file is no directory";
    EXPECT_FALSE(files->fnExists(""));
}

TEST(PosixFiles, ADirectoryIsCreatedOneLevelDeepForItsOwnerOnly) {
    const Folder folder;
    const auto files = fnFiles();
    EXPECT_TRUE(files->fnCreateDirectory(folder.fnName("new\\").c_str()));
    EXPECT_EQ(fnMode(folder.fnPath("new")), 0700u);
    EXPECT_FALSE(files->fnCreateDirectory(folder.fnName("new\\").c_str())) << "stands already";
    EXPECT_FALSE(files->fnCreateDirectory(folder.fnName("no\\parent\\").c_str()));
}

TEST(PosixFiles, ASearchGivesBareFileNamesSorted) {
    const Folder folder;
    for (const char* name : {"~qd2.tmp", "~qd1.tmp", "~qd.tmp", "~qd1.tmp2", "a.tmp", ".tmp"})
        folder.fnWrite(name, "");
    std::filesystem::create_directory(folder.fnPath("~qd0.tmp"));
    const auto files = fnFiles();
    const auto find = [&](const char* mask) { return files->fnFind(folder.fnName(mask).c_str()); };
    EXPECT_THAT(find("~qd*.tmp"), ElementsAre("~qd.tmp", "~qd1.tmp", "~qd2.tmp"));
    EXPECT_THAT(find("~qd?.tmp"), ElementsAre("~qd1.tmp", "~qd2.tmp"));
    EXPECT_THAT(find("a.tmp"), ElementsAre("a.tmp"));
    EXPECT_THAT(find("A.tmp"), ElementsAre());
    EXPECT_THAT(find("*qd*1*"), ElementsAre("~qd1.tmp", "~qd1.tmp2"));
    EXPECT_THAT(find("*"),
                ElementsAre(".tmp", "a.tmp", "~qd.tmp", "~qd1.tmp", "~qd1.tmp2", "~qd2.tmp"));
    EXPECT_THAT(find(""), ElementsAre());
    EXPECT_THAT(files->fnFind((folder.fnPath() + "/~qd?.*").c_str()),
                ElementsAre("~qd1.tmp", "~qd1.tmp2", "~qd2.tmp"));
    EXPECT_THAT(files->fnFind(folder.fnName("missing\\*").c_str()), ElementsAre());
}

TEST(PosixFiles, AQuestionMarkMatchesOneCharacterOfTheCodePage) {
    const Folder folder;
    folder.fnWrite("x\xC3\xA4y", "");
    CqPosixOptions options;
    options.m_szLocale = "C.UTF-8";
    EXPECT_THAT(fnFiles(options)->fnFind(folder.fnName("x?y").c_str()), ElementsAre("x\xC3\xA4y"));
    options.m_szLocale = "C";
    EXPECT_THAT(fnFiles(options)->fnFind(folder.fnName("x?y").c_str()), ElementsAre());
    EXPECT_THAT(fnFiles(options)->fnFind(folder.fnName("x??y").c_str()), ElementsAre("x\xC3\xA4y"));
}

TEST(PosixFiles, AFileIsDeletedUnlessItIsOpen) {
    const Folder folder;
    folder.fnWrite("held", "x");
    const auto files = fnFiles();
    CQ_FILE_CAUSE cause{};
    auto stream = files->fnOpen(folder.fnName("held").c_str(), {}, cause);
    ASSERT_TRUE(stream);
    EXPECT_FALSE(files->fnDelete(folder.fnName("held").c_str()));
    stream.reset();
    EXPECT_TRUE(files->fnDelete(folder.fnName("held").c_str()));
    EXPECT_EQ(folder.fnCount(), 0u);
    EXPECT_FALSE(files->fnDelete(folder.fnName("held").c_str()));
}

TEST(PosixFiles, AFileThatCannotBeAskedWhetherItIsOpenIsNotDeleted) {
    EXPECT_EQ(fnAsNobody([]() -> std::string {
                  const Folder folder;
                  folder.fnWrite("closed", "x");
                  const std::string name = folder.fnName("closed");
                  Q32_WANT(::chmod(folder.fnPath("closed").c_str(), 0) == 0);
                  Q32_WANT(!fnFiles()->fnDelete(name.c_str()) && folder.fnCount() == 1);
                  Q32_WANT(::chmod(folder.fnPath("closed").c_str(), 0400) == 0);
                  Q32_WANT(fnFiles()->fnDelete(name.c_str()) && folder.fnCount() == 0);
                  return "";
              }),
              "");
}

TEST(PosixFiles, DeletingALinkLeavesItsTargetAndADirectoryIsNotDeleted) {
    const Folder folder;
    folder.fnWrite("target", "x");
    std::filesystem::create_symlink("target", folder.fnPath("link"));
    std::filesystem::create_directory(folder.fnPath("folder"));
    EXPECT_TRUE(fnFiles()->fnDelete(folder.fnName("link").c_str()));
    EXPECT_FALSE(fnFiles()->fnDelete(folder.fnName("folder").c_str()));
    EXPECT_EQ(folder.fnRead("target"), "x");
    EXPECT_EQ(folder.fnCount(), 2u);
}

TEST(PosixFiles, AFilesFactsAreItsSizeAndTheSecondOfItsLastWrite) {
    const Folder folder;
    folder.fnWrite("file", std::string(1536, 'x'));
    const timeval times[2] = {{5, 0}, {1700000000, 999999}};
    ASSERT_EQ(::utimes(folder.fnPath("file").c_str(), times), 0);
    CqFileInfo info;
    ASSERT_TRUE(fnFiles()->fnGetInfo(folder.fnName("file").c_str(), true, info));
    EXPECT_EQ(info.m_nSize, 1536u);
    EXPECT_EQ(info.m_nLastWrite, 1700000000);
}

TEST(PosixFiles, FactsOfAFileInUseAreRefusedToAnExclusiveQuery) {
    const Folder folder;
    folder.fnWrite("file", "xyz");
    const auto files = fnFiles();
    const auto ask = [&](bool exclusive) {
        CqFileInfo info;
        return files->fnGetInfo(folder.fnName("file").c_str(), exclusive, info);
    };
    CQ_FILE_CAUSE cause{};
    const auto shared = files->fnOpen(folder.fnName("file").c_str(), {}, cause);
    EXPECT_FALSE(ask(true));
    EXPECT_TRUE(ask(false));
    shared->fnClose();
    EXPECT_TRUE(ask(true));
    CqFileMode alone;
    alone.m_bExclusive = true;
    const auto exclusive = files->fnOpen(folder.fnName("file").c_str(), alone, cause);
    EXPECT_FALSE(ask(true));
    EXPECT_TRUE(ask(false));
}

TEST(PosixFiles, FactsAreThoseOfRegularFilesOnly) {
    const Folder folder;
    ASSERT_EQ(::mkfifo(folder.fnPath("pipe").c_str(), 0600), 0);
    CqFileInfo info;
    EXPECT_FALSE(fnFiles()->fnGetInfo(folder.fnName("pipe").c_str(), false, info));
    EXPECT_FALSE(fnFiles()->fnGetInfo(folder.fnName().c_str(), false, info));
    EXPECT_FALSE(fnFiles()->fnGetInfo(folder.fnName("missing").c_str(), false, info));
}

TEST(PosixFiles, SpaceIsWhatTheCallerMayUseOnTheVolume) {
    const auto files = fnFiles();
    ASSERT_TRUE(files->fnHasWideSpaceQuery());
    struct statvfs facts {};
    // A file system without writers during the test.
    ASSERT_EQ(::statvfs("/sys", &facts), 0);
    CqDiskSpace space{1, 1};
    ASSERT_TRUE(files->fnGetSpace("/sys\\", space));
    EXPECT_EQ(space.m_nAvailable, facts.f_bavail * facts.f_frsize);
    EXPECT_EQ(space.m_nTotal, facts.f_blocks * facts.f_frsize);

    ASSERT_EQ(::statvfs("/var/tmp", &facts), 0);
    ASSERT_TRUE(files->fnGetSpace("/var/tmp\\", space));
    EXPECT_EQ(space.m_nTotal, facts.f_blocks * facts.f_frsize);
    EXPECT_GT(space.m_nAvailable, 0u);
    EXPECT_LE(space.m_nAvailable, space.m_nTotal);
}

TEST(PosixFiles, ReservedBlocksAreNotOffered) {
    const Folder folder;
    const std::string disk = folder.fnPath("disk");
    std::filesystem::create_directory(disk);
    const auto work = [&]() -> std::string {
        struct statvfs facts {};
        CqDiskSpace space;
        Q32_WANT(::statvfs(disk.c_str(), &facts) == 0);
        Q32_WANT(fnFiles()->fnGetSpace((disk + '\\').c_str(), space));
        Q32_WANT(space.m_nAvailable == facts.f_bavail * facts.f_frsize);
        Q32_WANT(space.m_nTotal == facts.f_blocks * facts.f_frsize);
        return "";
    };
    std::string found;
    if (!fnOnSmallDisk(disk, work, found))
        found = fnInChild(work);
    EXPECT_EQ(found, "");
}

TEST(PosixFiles, APathThatDoesNotExistYetHasTheSpaceOfItsVolume) {
    const Folder folder;
    CqDiskSpace space;
    CqDiskSpace above;
    ASSERT_TRUE(fnFiles()->fnGetSpace(folder.fnName("new\\").c_str(), space));
    ASSERT_TRUE(fnFiles()->fnGetSpace(folder.fnName().c_str(), above));
    EXPECT_EQ(space.m_nTotal, above.m_nTotal);
    EXPECT_TRUE(fnFiles()->fnGetSpace(folder.fnName("new\\and\\deep\\").c_str(), space));
}

TEST(PosixFiles, PathsOfNoVolumeHaveNoSpace) {
    const Folder folder;
    folder.fnWrite("file", "");
    CqDiskSpace space;
    CqDiskClusters clusters;
    for (const std::string& path :
         {std::string(), std::string("C:\\"), std::string("missing\\"), folder.fnName("file\\")}) {
        EXPECT_FALSE(fnFiles()->fnGetSpace(path.c_str(), space)) << path;
        EXPECT_FALSE(fnFiles()->fnGetClusters(path.c_str(), clusters)) << path;
    }
}

TEST(PosixFiles, ClustersMultiplyToTheVolumesBytes) {
    CqDiskClusters clusters;
    CqDiskSpace space;
    ASSERT_TRUE(fnFiles()->fnGetClusters("/dev/shm\\", clusters));
    ASSERT_TRUE(fnFiles()->fnGetSpace("/dev/shm\\", space));
    const std::uint64_t bytes =
        std::uint64_t{clusters.m_nSectorsPerCluster} * clusters.m_nBytesPerSector;
    EXPECT_EQ(bytes * clusters.m_nTotalClusters, space.m_nTotal);
    EXPECT_LE(clusters.m_nFreeClusters, clusters.m_nTotalClusters);
}
