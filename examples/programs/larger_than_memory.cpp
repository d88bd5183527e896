// Works on a picture larger than the memory it may take, on two scratch disks:
//   larger_than_memory <width> <height> <megabytes of memory> <folder> <another folder>
#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>

namespace {

int fnRun(int width, int height) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    CqImage image(width, height, 24);
    const std::uint64_t bytes = std::uint64_t{image.RowBytes} * image.Height;
    std::printf("%u x %u pixels take %llu MB; the limit is %llu MB\n", image.Width, image.Height,
                static_cast<unsigned long long>(bytes >> 20),
                static_cast<unsigned long long>(policy.fnGetRamBound() >> 20));
    std::printf("pixels lie in %s\n",
                image.fnGetScratchPath().IsEmpty() ? "RAM" : "a scratch file");
    for (unsigned int disk = 0; disk < 2; ++disk)
        std::printf("files on disk %u: %u\n", disk, policy.fnGetDiskUsage(disk).m_nFiles);

    // Operations don't care where the pixels lie.
    image.fnFill(CqColor(20, 40, 80), nullptr, false);
    image.fnDrawLine(0, 0, 99, 0, CqColor(255, 200, 0), false);
    image.fnRotate(90, CqColor(), nullptr, false, nullptr); // clockwise: the line is at the right
    const CqColor pixel = image.fnGetPixelColor(height - 1, 99);
    std::printf("rotated: %u x %u, pixel %d %d %d\n", image.Width, image.Height, pixel.m_Red,
                pixel.m_Green, pixel.m_Blue);
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 6)
        return std::fputs("larger_than_memory <width> <height> <MB> <disk> <disk>\n", stderr), 1;
    return q32RunHost(q32PosixPlatform(), [&] {
        q32SetMemoryLimit(std::strtoull(arguments[3], nullptr, 10) << 20);
        CqVMPolicy& policy = *q32GetVMPolicy();
        for (unsigned int disk = 0; disk < 2; ++disk) { // there may be four
            policy.fnSetDisk(disk, arguments[4 + disk]);
            policy.fnEnableDisk(disk, true);
        }
        return fnRun(std::atoi(arguments[1]), std::atoi(arguments[2]));
    });
}
