// An operation of the host's own, over tiles, with progress, abort and failure as those of the
// library: own_operation <picture> <new file> [<percent at which it is aborted>]
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <cstdlib>

/// Reduces each channel to four levels. The result replaces the picture only when it is complete:
/// after an abort, which gives false, and after the memory exception the picture is as it was.
bool fnPosterize(CqImage& image, CqProgressDisplay* progress) {
    CqImage fresh(image.Width, image.Height, image.BitCount); // raises the memory exception
    const std::uint32_t losses = image.fnCountLosses();
    CqImageTile from;
    CqImageTile to;
    for (unsigned int i = 0; i < image.TileCount; ++i) {
        bool aborted = false;
        if (progress)
            progress->fnDrawStatus(i * 100 / image.TileCount, &aborted);
        if (aborted)
            return false;
        image.fnAccessTile(i, &from);
        fresh.fnAccessTile(i, &to);
        for (std::uint32_t at = 0; at < from.Size; ++at)
            to.Pixels[at] = static_cast<unsigned char>(from.Pixels[at] / 64 * 85);
    }
    if (image.fnCountLosses() != losses || fresh.fnCountLosses() != 0)
        AfxThrowMemoryException(); // a scratch disk has lost pixels
    image.fnSwapBuf(fresh);
    return true;
}

/// Percentages on the error stream, and a user who presses Esc at one of them.
class Progress : public CqProgressDisplay {
public:
    explicit Progress(unsigned int end) : CqProgressDisplay(false), m_nEnd(end) {}
    void fnDrawStatus(unsigned int percent, bool* aborted) override {
        std::fprintf(stderr, "%u %%\n", percent);
        *aborted = m_bAborted = percent >= m_nEnd;
    }

private:
    unsigned int m_nEnd;
};

int main(int count, char** arguments) {
    if (count != 3 && count != 4)
        return EXIT_FAILURE;
    Progress progress(count == 4 ? static_cast<unsigned int>(std::atoi(arguments[3])) : 101);
    return q32RunHost(q32PosixPlatform(), [&] {
        CqImage image;
        if (!q32ShowPictureResult(q32ReadPicture(arguments[1], image)))
            return EXIT_FAILURE;
        image.fnConvert(24, false, nullptr);
        std::printf("%s\n", fnPosterize(image, &progress) ? "done" : "aborted");
        const bool saved = q32ShowPictureResult(q32WritePicture(arguments[2], image));
        return saved ? EXIT_SUCCESS : EXIT_FAILURE;
    });
}
