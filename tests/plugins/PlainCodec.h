/// @file A picture format of a host's own, for tests.
#pragma once

#include "plugins/CqPictureCodec.h"
#include "q32Base/image/CqImage.h"

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace q32::test {

inline constexpr auto kPlain = static_cast<PICTURE_FORMAT>(PICTURE_OF_HOST);

/// "PLAIN", width and height in a byte each, then rows of red, green, blue. A test may replace the
/// reading and the writing.
class PlainCodec : public CqPictureCodec {
public:
    CqPictureFormat fnGetFormat() const noexcept override {
        return {kPlain, "Plain", "pln plain", true, false};
    }
    bool fnKnows(const unsigned char* head, std::size_t count) const noexcept override {
        return std::string_view(reinterpret_cast<const char*>(head), count).starts_with("PLAIN");
    }
    bool fnRead(CqPictureReader& reader) const override {
        return m_Read ? m_Read(reader) : fnReadPlain(reader);
    }
    bool fnWrite(CqPictureWriter& writer) const override {
        return m_Write ? m_Write(writer) : fnWritePlain(writer);
    }

    static bool fnReadPlain(CqPictureReader& reader) {
        unsigned char head[7];
        if (!reader.fnRead(head, sizeof head) || !reader.fnAlloc(head[5], head[6], 24))
            return false;
        std::vector<unsigned char> row(head[5] * 3u);
        for (unsigned int y = 0; y < head[6]; ++y)
            if (!reader.fnRead(row.data(), row.size()) ||
                !reader.fnWriteRow(y, row.data(), PIXEL_RGB24))
                return false;
        return true;
    }
    static bool fnWritePlain(CqPictureWriter& writer) {
        const CqImage& image = writer.fnGetImage();
        const char sizes[] = {static_cast<char>(image.Width), static_cast<char>(image.Height)};
        std::vector<unsigned char> row(image.Width * 3);
        bool done = writer.fnWrite("PLAIN", 5) && writer.fnWrite(sizes, 2);
        for (unsigned int y = 0; y < image.Height && done; ++y)
            done = writer.fnReadRow(y, row.data(), PIXEL_RGB24) &&
                   writer.fnWrite(row.data(), row.size());
        return done;
    }

    std::function<bool(CqPictureReader&)> m_Read;
    std::function<bool(CqPictureWriter&)> m_Write;
};

} // namespace q32::test
