/// @file The memory policy and its blocks, under any limits, disks, settings and failures of the
/// system, compared with a plain model: where a block lies, what is in use, and that no block
/// touches another one.

#include "fuzz/FuzzInput.h"
#include "q32Base/memory/PixelBlock.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <list>
#include <optional>

namespace {

using namespace q32::fuzz;

/// Directories that there are, that can be made, and that can't; one without a volume, and none.
constexpr const char* kDirectories[] = {"C:\\Temp\\", "C:\\scratch\\",         "D:\\",
                                        "E:\\none\\", "C:\\missing\\deeper\\", ""};
constexpr const char* kTemp = kDirectories[0];
constexpr const char* kMissing = kDirectories[4];
constexpr unsigned int kDisks = CqVMPolicy::kDisks;
constexpr std::uint32_t kPhysicalBytes = 40u << 20;

CqHeadlessWorld& fnOwnWorld() {
    static CqHeadlessWorld& world = [&]() -> CqHeadlessWorld& {
        CqHeadlessOptions options;
        options.m_nPhysicalBytes = kPhysicalBytes;
        options.m_Volumes.resize(2);
        options.m_Volumes[1].m_szRoot = "D:\\";
        return fnWorld(options);
    }();
    return world;
}

struct Disk {
    std::string m_szPath;
    bool m_bEnabled = false;
};

struct Block {
    q32::PixelBlock m_Block;
    std::string m_szDirectory; ///< empty: RAM
    unsigned char m_Fill;
};

class Session {
public:
    explicit Session(Input& input) : m_Input(input), m_World(fnOwnWorld()) {
        for (const char* root : {"C:\\", "D:\\"})
            m_World.m_pDisks->fnSetFree(root, 1u << 16);
        for (unsigned int i = 0; i < kDisks; ++i) {
            fnSetDisk(i, i == 0 ? kTemp : "");
            fnEnable(i, i == 0);
        }
        fnSetLimit(1u << 16);
    }
    ~Session() {
        while (!m_Blocks.empty())
            fnFree(0);
        fnCheck(m_World.m_pScratch->fnGetViews() == 0 && m_World.m_pScratch->fnGetHandles() == 0,
                "files are closed");
    }

    void fnCall() {
        switch (m_Input.fnBelow(10)) {
        case 0:
            return fnSetDisk(m_Input.fnBelow(kDisks),
                             kDirectories[m_Input.fnBelow(std::size(kDirectories))]);
        case 1: {
            const unsigned int disk = m_Input.fnBelow(kDisks);
            return fnEnable(disk, m_Input.fnFlag());
        }
        case 2:
            return fnSetLimit(m_Input.fnWord());
        case 3:
            m_World.m_pDisks->fnSetFree(m_Input.fnFlag() ? "C:\\" : "D:\\", m_Input.fnWord());
            return;
        case 4:
            return fnPassSettings();
        case 5:
        case 6:
            return fnFree(m_Input.fnByte());
        case 7:
            return fnFail();
        default:
            return fnAllocate();
        }
    }

    void fnCompare() const {
        const CqVMPolicy& policy = *q32GetVMPolicy();
        std::uint32_t used = 0;
        for (const Block& block : m_Blocks)
            used += block.m_szDirectory.empty() ? block.m_Block.fnGetSize() : 0;
        fnCheck(policy.fnGetRamUsed() == used, "RAM in use is that of the blocks there");
        for (unsigned int i = 0; i < kDisks; ++i) {
            fnCheck(policy.fnGetDisk(i) == m_Disks[i].m_szPath.c_str() &&
                        m_Disks[i].m_bEnabled == policy.fnIsDiskEnabled(i),
                    "a disk is as it was set");
            std::uint64_t bytes = 0;
            for (const Block& block : m_Blocks)
                if (!block.m_szDirectory.empty() && block.m_szDirectory == m_Disks[i].m_szPath)
                    bytes += block.m_Block.fnGetSize();
            fnCheck(policy.fnGetDiskUsage(i).m_nBytes == bytes, "a disk holds its blocks");
        }
    }

private:
    void fnSetDisk(unsigned int disk, const char* path) {
        q32GetVMPolicy()->fnSetDisk(disk, path);
        m_Disks[disk].m_szPath = path;
        m_Disks[disk].m_bEnabled = m_Disks[disk].m_bEnabled && *path;
    }
    void fnEnable(unsigned int disk, bool enable) {
        q32GetVMPolicy()->fnEnableDisk(disk, enable);
        m_Disks[disk].m_bEnabled = enable;
    }
    void fnSetLimit(std::uint32_t limit) {
        q32GetVMPolicy()->fnSetRamLimit(limit);
        m_nLimit = limit;
    }
    void fnPassSettings() {
        CqVMPolicy& policy = *q32GetVMPolicy();
        const unsigned int percent = m_Input.fnByte();
        const bool counts = m_Input.fnFlag();
        policy.fnSetMemUsage(percent);
        policy.fnEnableMemUsage(counts);
        // The settings file lies on a disk that may be full.
        const std::uint64_t free = m_World.m_pDisks->fnGetFree("C:\\");
        m_World.m_pDisks->fnSetFree("C:\\", 1u << 16);
        fnCheck(policy.fnSerialize(false) && policy.fnSerialize(true), "settings pass");
        m_World.m_pDisks->fnSetFree("C:\\", free);
        m_nLimit = (counts ? percent : 100u) * kPhysicalBytes / 100; // wraps
        for (unsigned int i = 0; i < kDisks; ++i) {
            if (!m_Disks[i].m_szPath.empty())
                continue;
            m_Disks[i].m_bEnabled = m_Disks[i].m_bEnabled && i == 0;
            m_Disks[i].m_szPath = i == 0 ? kTemp : "";
        }
    }

    /// The directory for a block; none if there is no room.
    std::optional<std::string> fnExpectDisk(std::uint32_t size) const {
        for (const Disk& disk : m_Disks) {
            const std::string root = disk.m_szPath.substr(0, 3);
            if (!disk.m_bEnabled || root.empty() || m_World.m_pDisks->fnGetFree(root) <= size)
                continue;
            return disk.m_szPath == kMissing ? std::nullopt : std::optional(disk.m_szPath);
        }
        return std::nullopt;
    }
    std::optional<std::string> fnExpect(std::uint32_t size) const {
        if (std::uint64_t{q32GetVMPolicy()->fnGetRamUsed()} + size <= m_nLimit)
            return "";
        return fnExpectDisk(size);
    }

    /// Any size, occasionally just what the limit leaves.
    std::uint32_t fnSize() {
        const std::uint32_t size = m_Input.fnWord();
        const std::uint32_t left = m_nLimit - q32GetVMPolicy()->fnGetRamUsed();
        return size % 4 == 0 && left - 1 < 65536 ? left : 1 + size % 8192;
    }
    /// Takes a block, which must lie where it is expected.
    void fnTake(std::uint32_t size, const std::optional<std::string>& expected) {
        const std::size_t files = m_World.m_pDisks->fnGetFiles().size();
        Block block;
        const bool taken = fnTry([&] { block.m_Block = q32::PixelBlock(size); });
        fnCheck(taken == expected.has_value(), "a block is there if there is room");
        const std::size_t added = taken && !expected->empty() ? 1 : 0;
        fnCheck(m_World.m_pDisks->fnGetFiles().size() == files + added, "a block has one file");
        if (!taken)
            return;
        const std::string name(block.m_Block.fnGetFileName());
        fnCheck(name.substr(0, name.rfind('\\') + 1) == *expected, "a block lies in its place");
        block.m_szDirectory = *expected;
        block.m_Fill = m_nNext++;
        std::memset(block.m_Block.fnGetBytes(), block.m_Fill, size);
        m_Blocks.push_back(std::move(block));
    }
    void fnAllocate() {
        const std::uint32_t size = fnSize();
        fnTake(size, fnExpect(size));
    }
    /// A step of the system fails: without memory a disk is tried, without a file there is nothing.
    void fnFail() {
        CqHeadlessCalls* const steps[] = {
            &m_World.m_pMemory->m_Reserve,        &m_World.m_pScratch->m_CreateName,
            &m_World.m_pScratch->m_SetSize,       &m_World.m_pScratch->m_Reopen,
            &m_World.m_pScratch->m_CreateMapping, &m_World.m_pScratch->m_MapView};
        const unsigned int step = m_Input.fnBelow(std::size(steps));
        const std::uint32_t size = fnSize();
        std::optional<std::string> expected = fnExpect(size);
        if (expected && expected->empty() == (step == 0))
            expected = step == 0 ? fnExpectDisk(size) : std::nullopt;
        steps[step]->fnFail();
        fnTake(size, expected);
        steps[step]->fnFailNever();
    }
    void fnFree(std::size_t index) {
        if (m_Blocks.empty())
            return;
        const auto at =
            std::next(m_Blocks.begin(), static_cast<std::ptrdiff_t>(index % m_Blocks.size()));
        const unsigned char* bytes = at->m_Block.fnGetBytes();
        fnCheck(std::all_of(bytes, bytes + at->m_Block.fnGetSize(),
                            [&](unsigned char byte) { return byte == at->m_Fill; }),
                "no block touches another one");
        m_Blocks.erase(at);
    }

    Input& m_Input;
    CqHeadlessWorld& m_World;
    Disk m_Disks[kDisks];
    std::uint32_t m_nLimit = 0;
    std::list<Block> m_Blocks;
    unsigned char m_nNext = 1;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnOwnWorld();
    const Balance balance;
    Input input(data, size);
    Session session(input);
    for (int calls = 0; calls < 50 && !input.fnIsEmpty(); ++calls) {
        session.fnCall();
        session.fnCompare();
    }
    return 0;
}
