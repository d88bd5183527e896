// Adds a format of its own, the binary portable pixmap, and converts: own_format <in> <out>
#include "platforms/posix/posix.h"
#include "plugins/CqPictureCodec.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <vector>

class Pixmap final : public CqPictureCodec {
public:
    CqPictureFormat fnGetFormat() const noexcept override {
        return {static_cast<PICTURE_FORMAT>(PICTURE_OF_HOST), "Pixmap", "ppm", true, false};
    }
    bool fnKnows(const unsigned char* head, std::size_t count) const noexcept override {
        return count >= 2 && head[0] == 'P' && head[1] == '6';
    }
    bool fnRead(CqPictureReader& reader) const override {
        char head[64] = {};
        unsigned int width = 0, height = 0, most = 0;
        int length = 0;
        reader.fnReadSome(head, sizeof head - 1);
        if (std::sscanf(head, "P6 %9u %9u %9u%n", &width, &height, &most, &length) != 3)
            return reader.fnFail(MESSAGE_CORRUPTED);
        if (most != 255)
            return reader.fnFail(MESSAGE_UNSUPPORTED);
        reader.fnSeek(static_cast<unsigned int>(length) + 1); // behind the one white space
        if (!reader.fnAlloc(width, height, 24))               // unless the host's limits forbid it
            return false;
        std::vector<unsigned char> row(std::size_t{width} * 3);
        for (unsigned int y = 0; y < height; ++y)
            if (!reader.fnRead(row.data(), row.size()) ||
                !reader.fnWriteRow(y, row.data(), PIXEL_RGB24)) // also reports progress
                return false;
        return true;
    }
    bool fnWrite(CqPictureWriter& writer) const override {
        const CqImage& image = writer.fnGetImage();
        CString head;
        head.Format("P6\n%u %u\n255\n", image.Width, image.Height);
        std::vector<unsigned char> row(std::size_t{image.Width} * 3);
        bool done = writer.fnWrite(head, static_cast<std::size_t>(head.GetLength()));
        for (unsigned int y = 0; y < image.Height && done; ++y)
            done = writer.fnReadRow(y, row.data(), PIXEL_RGB24) &&
                   writer.fnWrite(row.data(), row.size());
        return done;
    }
};

int main(int count, char** arguments) {
    static const Pixmap pixmap; // the library doesn't own it
    if (count != 3 || !q32AddPictureFormat(pixmap))
        return 1;
    return q32RunHost(q32PosixPlatform(), [&] {
        CqImage image;
        const bool done = q32ShowPictureResult(q32ReadPicture(arguments[1], image)) &&
                          q32ShowPictureResult(q32WritePicture(arguments[2], image));
        return done ? 0 : 1;
    });
}
