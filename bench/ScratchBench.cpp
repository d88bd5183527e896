// The cost of a large block from the POSIX back end: in RAM, and in a scratch file on the disk of
// TMPDIR or, if unset, of /var/tmp. Each case runs through the services, as the library does.
//
// "use" is the first write and read of a complete fresh block, without allocating and freeing it;
// "again" writes and reads one that was used before; "life" is the total: allocating, writing,
// reading, freeing.

#include "platforms/posix/posix.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const CqPlatform& fnPlatform() {
    static const CqPlatform platform = q32PosixPlatform();
    return platform;
}

class RamBlock {
public:
    explicit RamBlock(std::uint32_t size) : m_nSize(size) {
        m_pBytes = fnPlatform().m_pMemory->fnReserve(size);
        if (!m_pBytes || !fnPlatform().m_pMemory->fnCommit(m_pBytes, size))
            std::abort();
    }
    ~RamBlock() {
        fnPlatform().m_pMemory->fnDecommit(m_pBytes, m_nSize);
        fnPlatform().m_pMemory->fnRelease(m_pBytes, m_nSize);
    }
    RamBlock(const RamBlock&) = delete;
    RamBlock& operator=(const RamBlock&) = delete;
    void* fnBytes() const { return m_pBytes; }

private:
    std::uint32_t m_nSize;
    void* m_pBytes;
};

class ScratchBlock {
public:
    explicit ScratchBlock(std::uint32_t size) : m_nSize(size) {
        CqScratchService& scratch = *fnPlatform().m_pScratch;
        std::string directory;
        fnPlatform().m_pFiles->fnGetTempDirectory(directory);
        if (!scratch.fnCreateName(directory.c_str(), "~qd", m_szName))
            std::abort();
        m_nFile = scratch.fnOpen(m_szName.c_str());
        if (!scratch.fnSetSize(m_nFile, size))
            std::abort();
        m_nFile = scratch.fnReopen(m_nFile, m_szName.c_str());
        m_nMapping = scratch.fnCreateMapping(m_nFile, size);
        m_pBytes = scratch.fnMapView(m_nMapping, size);
        if (!m_pBytes)
            std::abort();
    }
    ~ScratchBlock() {
        CqScratchService& scratch = *fnPlatform().m_pScratch;
        scratch.fnUnmapView(m_pBytes, m_nSize);
        scratch.fnCloseMapping(m_nMapping);
        scratch.fnClose(m_nFile);
        scratch.fnDelete(m_szName.c_str());
    }
    ScratchBlock(const ScratchBlock&) = delete;
    ScratchBlock& operator=(const ScratchBlock&) = delete;
    void* fnBytes() const { return m_pBytes; }

private:
    std::uint32_t m_nSize;
    std::string m_szName;
    CqFileHandle m_nFile = kNoFile;
    CqMappingHandle m_nMapping = kNoMapping;
    void* m_pBytes = nullptr;
};

/// Writes and reads the block.
void fnUse(void* bytes, std::uint32_t size) {
    std::memset(bytes, 0x5A, size);
    benchmark::ClobberMemory();
    const auto* const words = static_cast<const std::uint64_t*>(bytes);
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < size / sizeof(std::uint64_t); ++i)
        sum += words[i];
    benchmark::DoNotOptimize(sum);
}

template <typename Block>
void fnBenchUse(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        const Block block(size);
        const auto begin = std::chrono::steady_clock::now();
        fnUse(block.fnBytes(), size);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
}

template <typename Block>
void fnBenchAgain(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    const Block block(size);
    fnUse(block.fnBytes(), size);
    for ([[maybe_unused]] auto _ : state)
        fnUse(block.fnBytes(), size);
}

template <typename Block>
void fnBenchLife(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        const Block block(size);
        fnUse(block.fnBytes(), size);
    }
}

// 4000 x 3000 and 12,000 x 9,000 pixels of 24 bits.
constexpr std::int64_t kPicture = 36000000;
constexpr std::int64_t kLargePicture = 324000000;

void fnSizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(kPicture)->Arg(kLargePicture)->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(fnBenchUse, RamBlock)->Name("use/ram")->Apply(fnSizes)->UseManualTime();
BENCHMARK_TEMPLATE(fnBenchUse, ScratchBlock)->Name("use/scratch")->Apply(fnSizes)->UseManualTime();
BENCHMARK_TEMPLATE(fnBenchAgain, RamBlock)->Name("again/ram")->Apply(fnSizes);
BENCHMARK_TEMPLATE(fnBenchAgain, ScratchBlock)->Name("again/scratch")->Apply(fnSizes);
BENCHMARK_TEMPLATE(fnBenchLife, RamBlock)->Name("life/ram")->Apply(fnSizes);
BENCHMARK_TEMPLATE(fnBenchLife, ScratchBlock)->Name("life/scratch")->Apply(fnSizes);

} // namespace

BENCHMARK_MAIN();
