// Pictures larger than memory: paints 30,000 x 30,000 pixels of 24 bits in a scratch file on the
// disk of TMPDIR or, if unset, of /var/tmp, then copies them, rotates them by 90 degrees and
// reduces them to a third, or by another divisor. Each job runs once. Meaningful only where memory
// is short; as root:
//
//     scripts/with-memory 512M build/bench/bench/WalkBench
//
// WalkBench [side [job [divisor]]]; the job is paint, file (copies the scratch file in plain
// pieces), copy, rotate, reduce or, by default, all of them. Each is preceded by painting. Prints
// the time, the peak memory besides the pixels seen in jobs that report progress, and the pages
// that the job waited for.

#include "platforms/posix/posix.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <random>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

/// Kilobytes of memory not backed by a file.
long fnOwnMemory() {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    long kilobytes = 0;
    char line[128];
    while (status && std::fgets(line, sizeof line, status))
        if (std::sscanf(line, "RssAnon: %ld", &kilobytes) == 1)
            break;
    if (status)
        std::fclose(status);
    return kilobytes;
}

long fnMajorFaults() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_majflt;
}

/// Copies the scratch file's bytes into another file beside it, like any file copy.
bool fnCopyFile(const CqImage& image) {
    std::string from(image.fnGetScratchPath());
    std::replace(from.begin(), from.end(), '\\', '/');
    const std::string to = from + ".copy";
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    std::vector<char> piece(std::size_t{1} << 20);
    ssize_t count = -1;
    while ((count = ::read(in, piece.data(), piece.size())) > 0)
        if (::write(out, piece.data(), static_cast<std::size_t>(count)) != count)
            break;
    ::close(in);
    ::close(out);
    ::unlink(to.c_str());
    return count == 0;
}

/// Samples the memory while a job runs.
class Watch : public CqProgressDisplay {
public:
    Watch() : CqProgressDisplay(false) {}
    void fnDrawStatus(unsigned int, bool* aborted) override {
        if (m_nCalls++ % 64 == 0)
            m_nMost = std::max(m_nMost, fnOwnMemory());
        *aborted = false;
    }
    long m_nMost = -1; ///< never sampled

private:
    unsigned m_nCalls = 0;
};

/// Noise in each tile, starting at a different point of the same sequence.
void fnPaint(CqImage& image) {
    constexpr std::size_t kNoise = std::size_t{1} << 20;
    constexpr std::size_t kMaxBytes = std::size_t{128} * 128 * 3;
    std::minstd_rand random(1);
    std::vector<unsigned char> noise(kNoise + kMaxBytes);
    for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>(random() >> 16);
    CqImageTile tile(false);
    for (std::uint32_t i = 0; i < image.TileCount; ++i) {
        image.fnAccessTile(i, &tile);
        std::memcpy(tile.Pixels, noise.data() + random() % kNoise, tile.Size);
    }
}

template <typename Job>
void fnMeasure(const char* what, Job job) {
    Watch watch;
    const long before = fnOwnMemory();
    const long faults = fnMajorFaults();
    const auto begin = std::chrono::steady_clock::now();
    job(watch);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%-28s %7.1f s   ", what, time.count());
    if (watch.m_nMost >= 0)
        std::printf("own memory +%.1f MB   ",
                    static_cast<double>(std::max(0L, watch.m_nMost - before)) / 1024.0);
    std::printf("%ld major faults\n", fnMajorFaults() - faults);
    std::fflush(stdout);
}

/// @param divisor  of the reduction
int fnRun(unsigned int side, const std::string& job, unsigned int divisor) {
    static constexpr const char* kJobs[] = {"paint", "file", "copy", "rotate", "reduce", "all"};
    if (divisor == 0 || side / divisor == 0 ||
        std::find(std::begin(kJobs), std::end(kJobs), job) == std::end(kJobs)) {
        std::fputs("WalkBench [side [paint|file|copy|rotate|reduce|all [divisor]]]\n", stderr);
        return EXIT_FAILURE;
    }
    const auto expected = [&](const char* name) { return job == name || job == "all"; };
    // All pixels are on the disk.
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnSetRamLimit(0);
    CqImage image(side, side, 24, nullptr, 0);
    fnMeasure("paint", [&](Watch&) { fnPaint(image); });
    bool isCopied = true;
    if (expected("file"))
        fnMeasure("plain copy of the file", [&](Watch&) { isCopied = fnCopyFile(image); });
    if (!isCopied) {
        std::fputs("the file can't be copied\n", stderr);
        return EXIT_FAILURE;
    }
    if (expected("copy"))
        fnMeasure("copy", [&](Watch&) { const CqImage copy(image); });
    if (expected("rotate"))
        fnMeasure("rotate by 90 degrees",
                  [&](Watch& watch) { image.fnRotate(90.0, CqColor(), nullptr, false, &watch); });
    if (!expected("reduce"))
        return EXIT_SUCCESS;
    const unsigned int reduced = side / divisor;
    const std::string what = "reduce by " + std::to_string(divisor);
    fnMeasure(what.c_str(),
              [&](Watch& watch) { image.fnResample(reduced, reduced, true, &watch); });
    return image.Width == reduced ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    if (!q32Attach(q32PosixPlatform()))
        return EXIT_FAILURE;
    int result = EXIT_FAILURE;
    try {
        result = fnRun(argc > 1 ? static_cast<unsigned int>(std::atoi(argv[1])) : 30000,
                       argc > 2 ? argv[2] : "all",
                       argc > 3 ? static_cast<unsigned int>(std::atoi(argv[3])) : 3);
    } catch (CMemoryException* error) {
        std::fputs("no room for the pictures\n", stderr);
        error->Delete();
    }
    q32Detach();
    return result;
}
