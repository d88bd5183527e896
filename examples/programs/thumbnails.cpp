// Makes a thumbnail of every picture in a folder: thumbnails <folder> <folder for thumbnails>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

/// A bar on the terminal: pictures done before, and the percentage of the present one.
struct Bar : CqPictureProgress {
    explicit Bar(std::size_t count) : m_nCount(count) {}
    void fnOnProgress(unsigned int percent, bool& /*aborted*/) override {
        const std::size_t tenths = (10 * m_nDone + percent / 10) / m_nCount;
        if (tenths == m_nShown)
            return; // it is called about once for each row
        m_nShown = tenths;
        std::printf("\r[%-10.*s]", static_cast<int>(tenths), "##########");
        std::fflush(stdout);
    }
    const std::size_t m_nCount;
    std::size_t m_nDone = 0;
    std::size_t m_nShown = 11; // none yet
};

/// Makes one thumbnail, at most 128 pixels wide and high.
bool fnShrink(const fs::path& from, const fs::path& to, Bar& bar) {
    CqImage image;
    if (!q32ShowPictureResult(q32ReadPicture(from.c_str(), image, &bar)))
        return false;
    if (image.BitCount <= 8 && !image.fnIsGrayScale())
        image.fnConvert(24, false, nullptr);
    const double scale = 128.0 / std::max(image.Width, image.Height);
    if (scale < 1.0)
        image.fnResample(scale, scale, nullptr);
    return q32ShowPictureResult(q32WritePicture(to.c_str(), image, PICTURE_PNG));
}

int main(int count, char** arguments) {
    if (count != 3)
        return 1;
    return q32RunHost(q32PosixPlatform(), [&] {
        std::set<fs::path> pictures;
        for (const auto& entry : fs::directory_iterator(arguments[1]))
            if (q32FindPictureFormat(entry.path().c_str()))
                pictures.insert(entry.path());
        fs::create_directories(arguments[2]);
        Bar bar(pictures.size());
        std::size_t made = 0;
        for (const fs::path& from : pictures) {
            made += fnShrink(from, arguments[2] / from.stem().concat(".png"), bar) ? 1 : 0;
            ++bar.m_nDone;
        }
        std::printf("\n%zu of %zu thumbnails\n", made, pictures.size());
        return made == pictures.size() ? 0 : 1;
    });
}
