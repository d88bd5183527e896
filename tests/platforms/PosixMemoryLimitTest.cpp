#include "platforms/posix/MemoryLimit_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>

using namespace q32::posix;
using q32::test::Folder;

namespace {

/// Simulates a process's files and control group hierarchies in a folder.
class GroupTree {
public:
    /// A line that mounts a hierarchy at "v1" or "v2" in the folder.
    std::string fnMount(const std::string& tree, const std::string& root = "/") const {
        const std::string tail =
            tree == "v2" ? " - cgroup2 none rw\n" : " - cgroup cgroup rw,memory\n";
        return "36 25 0:30 " + root + ' ' + m_Folder.fnPath(tree) + " rw,relatime shared:9 x:1" +
               tail;
    }
    void fnSetFile(const std::string& name, const std::string& text) const {
        const std::filesystem::path path(m_Folder.fnPath(name));
        std::filesystem::create_directories(path.parent_path());
        m_Folder.fnWrite(name, text);
    }
    std::optional<std::uint64_t> fnLimit() const { return fnGroupMemoryLimit(m_Folder.fnPath()); }

    Folder m_Folder;
};

} // namespace

TEST(PosixMemoryLimit, OnlyANumberOfBytesIsALimit) {
    EXPECT_EQ(fnParseLimit("536870912\n"), 536870912u);
    EXPECT_EQ(fnParseLimit("0"), 0u);
    EXPECT_EQ(fnParseLimit("18446744073709551615\n"), 18446744073709551615u);
    for (const char* text : {"", "\n", "max\n", "max", "-1", "+5", "12x", "1 2", " 7", "0x10",
                             "18446744073709551616\n"})
        EXPECT_FALSE(fnParseLimit(text)) << text;
}

TEST(PosixMemoryLimit, WithoutControlGroupsThereIsNoLimit) {
    const GroupTree tree;
    EXPECT_FALSE(tree.fnLimit());
    tree.fnSetFile("cgroup", "0::/a\n");
    EXPECT_FALSE(tree.fnLimit());
    tree.fnSetFile("mountinfo", "22 1 254:0 / / rw - ext4 /dev/vda rw\n");
    EXPECT_FALSE(tree.fnLimit());
    tree.fnSetFile("mountinfo", tree.fnMount("v2")); // without any of its files
    EXPECT_FALSE(tree.fnLimit());
}

TEST(PosixMemoryLimit, TheLowestLimitOfAGroupAndItsAncestorsApplies) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "0::/slice/job/part\n");
    tree.fnSetFile("mountinfo", tree.fnMount("v2"));
    tree.fnSetFile("v2/slice/job/part/memory.max", "max\n");
    EXPECT_FALSE(tree.fnLimit());
    tree.fnSetFile("v2/slice/memory.max", "9000000\n");
    EXPECT_EQ(tree.fnLimit(), 9000000u);
    tree.fnSetFile("v2/slice/job/memory.high", "8000000\n");
    EXPECT_EQ(tree.fnLimit(), 8000000u);
    tree.fnSetFile("v2/slice/job/part/memory.max", "8500000\n");
    EXPECT_EQ(tree.fnLimit(), 8000000u);
    tree.fnSetFile("v2/memory.max", "7000000\n");
    EXPECT_EQ(tree.fnLimit(), 7000000u);
    tree.fnSetFile("v2/slice/other/memory.max", "1\n");
    EXPECT_EQ(tree.fnLimit(), 7000000u);
}

TEST(PosixMemoryLimit, TheOlderMemoryHierarchyIsReadToo) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "5:devices:/\n4:cpu,memory:/job\n0::/\n");
    tree.fnSetFile("mountinfo", "30 25 0:26 / /nowhere rw - cgroup cgroup rw,devices\n" +
                                    tree.fnMount("v1") + tree.fnMount("v2"));
    tree.fnSetFile("v1/memory.limit_in_bytes", "9223372036854771712\n");
    tree.fnSetFile("v1/job/memory.limit_in_bytes", "536870912\n");
    EXPECT_EQ(tree.fnLimit(), 536870912u);
    tree.fnSetFile("v2/memory.max", "400000000\n");
    EXPECT_EQ(tree.fnLimit(), 400000000u);
}

TEST(PosixMemoryLimit, InAContainerTheGroupIsResolvedBelowTheMountRoot) {
    const GroupTree tree;
    tree.fnSetFile("mountinfo", tree.fnMount("v2", "/box/1"));
    tree.fnSetFile("v2/memory.max", "5000000\n");
    tree.fnSetFile("v2/job/memory.max", "4000000\n");
    tree.fnSetFile("cgroup", "0::/box/1/job\n");
    EXPECT_EQ(tree.fnLimit(), 4000000u);
    tree.fnSetFile("cgroup", "0::/box/1\n");
    EXPECT_EQ(tree.fnLimit(), 5000000u);
    tree.fnSetFile("cgroup", "0::/elsewhere/job\n");
    EXPECT_EQ(tree.fnLimit(), 5000000u);
    tree.fnSetFile("cgroup", "0::/box/10/job\n");
    EXPECT_EQ(tree.fnLimit(), 5000000u);
}

TEST(PosixMemoryLimit, AMountPointMayContainABlank) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "0::/job\n");
    tree.fnSetFile("mountinfo", "36 25 0:30 / " + tree.m_Folder.fnPath() +
                                    "/two\\040words rw - cgroup2 none rw\n");
    tree.fnSetFile("two words/job/memory.max", "123\n");
    EXPECT_EQ(tree.fnLimit(), 123u);
}

TEST(PosixMemoryLimit, AHierarchyMountedAfterAMegabyteOfOthersIsFound) {
    const GroupTree tree;
    std::string mounts;
    while (mounts.size() < std::size_t{3} << 20)
        mounts += "22 1 254:0 / /pod/" + std::to_string(mounts.size()) + " rw - ext4 /dev/vda rw\n";
    tree.fnSetFile("cgroup", "0::/job\n");
    tree.fnSetFile("mountinfo", mounts + tree.fnMount("v2"));
    tree.fnSetFile("v2/job/memory.max", "321\n");
    EXPECT_EQ(tree.fnLimit(), 321u);
}

TEST(PosixMemoryLimit, ALineOfMoreThanAMegabyteIsSkipped) {
    const GroupTree tree;
    const std::string one = tree.fnMount("v1");
    const std::string two = tree.fnMount("v2");
    std::string longer = one;
    longer.insert(longer.find(" shared:9"), (std::size_t{1} << 20) - one.size() + 1, ' ');
    EXPECT_EQ(longer.size(), (std::size_t{1} << 20) + 1); // includes its line end
    tree.fnSetFile("cgroup", "4:memory:/job\n0::/job\n");
    tree.fnSetFile("v1/job/memory.limit_in_bytes", "100\n");
    tree.fnSetFile("v2/job/memory.max", "200\n");
    tree.fnSetFile("mountinfo", longer + two);
    EXPECT_EQ(tree.fnLimit(), 100u);
    longer.insert(longer.find(" shared:9"), " ");
    tree.fnSetFile("mountinfo", longer + two);
    EXPECT_EQ(tree.fnLimit(), 200u);
    longer.pop_back();
    tree.fnSetFile("mountinfo", two + longer);
    EXPECT_EQ(tree.fnLimit(), 200u);
}

TEST(PosixMemoryLimit, TheLastLineNeedsNoLineEnd) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "0::/job");
    std::string mount = tree.fnMount("v2");
    mount.pop_back();
    tree.fnSetFile("mountinfo", mount);
    tree.fnSetFile("v2/job/memory.max", "77");
    EXPECT_EQ(tree.fnLimit(), 77u);
}

TEST(PosixMemoryLimit, MalformedLinesAreNoLimit) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "\n:\n0\n0:\nnonsense");
    tree.fnSetFile("mountinfo", "\n - \n1 2 3\n1 2 3 4 5 - cgroup2\n1 2 3 / \\04 - cgroup2 \\");
    EXPECT_FALSE(tree.fnLimit());
}

TEST(PosixMemoryLimit, ThisProcessMayUseSomeMemory) {
    EXPECT_GT(fnUsableMemory(), std::uint64_t{16} << 20);
}

TEST(PosixMemoryLimit, ABackslashWithoutThreeOctalDigitsIsItself) {
    for (const char* name : {"v2\\!11", "v2\\911", "v2\\1!1", "v2\\191", "v2\\11!", "v2\\119"}) {
        const GroupTree tree;
        tree.fnSetFile("cgroup", "0::/\n");
        std::string mount = tree.fnMount("v2");
        mount.replace(mount.rfind("/v2 ") + 1, 2, name);
        tree.fnSetFile("mountinfo", mount);
        tree.fnSetFile(std::string(name) + "/memory.max", "5 \n7\n");
        EXPECT_EQ(tree.fnLimit(), 5u) << name << ", and only the first line counts";
    }
}

TEST(PosixMemoryLimit, TheFirstGroupOfAHierarchyCountsAlsoWithoutASlash) {
    const GroupTree tree;
    tree.fnSetFile("cgroup", "0:name:/other\n4:memory:/job\n5:memory:/other\n");
    tree.fnSetFile("mountinfo", tree.fnMount("v1"));
    tree.fnSetFile("v1/job/memory.limit_in_bytes", "40\n");
    tree.fnSetFile("v1/other/memory.limit_in_bytes", "30\n");
    EXPECT_EQ(tree.fnLimit(), 40u);
    tree.fnSetFile("cgroup", "4:memory:job\n");
    tree.fnSetFile("v1job/memory.limit_in_bytes", "20\n");
    tree.fnSetFile("v1/memory.limit_in_bytes", "50\n");
    EXPECT_EQ(tree.fnLimit(), 20u);
}
