#include "examples/darkroom/model/Filters.h"

#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/CqConvMask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace darkroom {

namespace {

/// Filters one row; columns beyond the edges repeat the edge.
void fnFilterRow(const std::array<unsigned char*, 3>& rows, std::size_t width, std::size_t pixel,
                 std::size_t firstChannel, int amount, std::vector<unsigned char>& out) {
    for (std::size_t x = 0; x < width; ++x) {
        const std::size_t columns[] = {x == 0 ? 0 : x - 1, x, x + 1 == width ? x : x + 1};
        for (std::size_t channel = 0; channel < pixel; ++channel) {
            const int here = rows[1][x * pixel + channel];
            int value = here;
            if (channel >= firstChannel) {
                int sum = 0;
                for (const unsigned char* row : rows)
                    for (const std::size_t column : columns)
                        sum += row[column * pixel + channel];
                // In ninths of a percent, so that the result is rounded only once.
                value = (here * 900 + (sum - here * 9) * amount + 450) / 900;
            }
            out[x * pixel + channel] = static_cast<unsigned char>(std::clamp(value, 0, 255));
        }
    }
}

void fnPutRow(CqImage& image, std::uint32_t y, const std::vector<unsigned char>& row) {
    CqImageLine line;
    image.fnAccessLine(y, &line, false);
    std::copy(row.begin(), row.end(), line.LineBuffer);
}

} // namespace

void fnSoften(CqImage& image, int amount, CqProgressDisplay* progress) {
    const std::size_t pixel = image.BytesPerPixel;
    // The window holds copies of the rows it has reached and is one row ahead, so the image's own
    // row may be overwritten as soon as it is filtered.
    CqConvMask window(image, 3, -1);
    std::vector<unsigned char> row(image.Width * pixel);
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        window.fnGotoNextLine();
        std::array<unsigned char*, 3> rows{};
        window.fnGetLine(rows[0], rows[1], rows[2]);
        fnFilterRow(rows, image.Width, pixel, pixel == 4 ? 1 : 0, amount, row);
        fnPutRow(image, y, row);
        if (!fnGoOn(progress, y, image.Height))
            return;
    }
}

} // namespace darkroom
