// Makes a thumbnail of every picture in a folder: thumbnails <folder> <folder for thumbnails>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// A bar on the terminal: pictures done before, and the percentage of the present one.
class Bar : public CqPictureProgress {
public:
    explicit Bar(std::size_t count) : m_nCount(count) {}

    void fnOnProgress(unsigned int percent, bool& /*aborted*/) override {
        const std::size_t tenths = (10 * m_nDone + percent / 10) / m_nCount;
        if (tenths == m_nShown)
            return; // it is called about once for each row
        m_nShown = tenths;
        std::printf("\r[%-10.*s]", static_cast<int>(tenths), "##########");
        std::fflush(stdout);
    }

    std::size_t m_nDone = 0;

private:
    std::size_t m_nCount;
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

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 1;
    return q32RunHost(q32PosixPlatform(), [&] {
        std::vector<fs::path> pictures;
        for (const auto& entry : fs::directory_iterator(arguments[1]))
            if (q32FindPictureFormat(entry.path().c_str()))
                pictures.push_back(entry.path());
        std::sort(pictures.begin(), pictures.end());
        fs::create_directories(arguments[2]);
        Bar bar(pictures.size());
        std::size_t made = 0;
        for (; bar.m_nDone < pictures.size(); ++bar.m_nDone) {
            const fs::path& from = pictures[bar.m_nDone];
            made += fnShrink(from, arguments[2] / from.stem().concat(".png"), bar) ? 1 : 0;
        }
        std::printf("\n%zu of %zu thumbnails\n", made, pictures.size());
        return made == pictures.size() ? 0 : 1;
    });
}
