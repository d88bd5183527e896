#include "examples/darkroom/model/Filters.h"

#include "examples/darkroom/model/Hands.h"
#include "examples/darkroom/model/Progress.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/operations/CqConvMask.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace darkroom {

namespace {

using Rows = std::array<unsigned char*, 3>;
using Bytes = std::vector<unsigned char>;

constexpr double kPixelTime = 3.0; ///< nanoseconds
/// Pixels that each thread filters between two reports: about half a millisecond.
constexpr std::size_t kHandPixels = 1u << 17;

/// Filters rows of one length.
class RowFilter {
public:
    /// @param pixel  bytes of a pixel; with 4, the first one is alpha
    RowFilter(std::size_t width, std::size_t pixel, int amount)
        : m_nPixel(pixel), m_nBytes(width * pixel), m_nAmount(amount),
          m_Sums(m_nBytes + 2 * pixel) {}

    /// Columns beyond the edges repeat the edge.
    void fnRun(const Rows& rows, unsigned char* out) {
        // Local copies: the compiler can't know that bytes of `out` are none of the members.
        const std::size_t pixel = m_nPixel;
        const std::size_t bytes = m_nBytes;
        const unsigned char* const here = rows[1];
        std::uint16_t* const sums = m_Sums.data();
        for (std::size_t i = 0; i < bytes; ++i)
            sums[pixel + i] = static_cast<std::uint16_t>(rows[0][i] + here[i] + rows[2][i]);
        std::copy_n(sums + pixel, pixel, sums);
        std::copy_n(sums + bytes, pixel, sums + bytes + pixel);
        // In ninths of a percent, so that the result is rounded only once. These are whole numbers
        // below 2 to the 24th, which floats hold exactly; with a half more, the product's own error
        // never reaches the next byte.
        const auto ofHere = static_cast<float>(900 - 9 * m_nAmount);
        const auto ofSum = static_cast<float>(m_nAmount);
        for (std::size_t i = 0; i < bytes; ++i) {
            const int sum = sums[i] + sums[i + pixel] + sums[i + 2 * pixel];
            const float value =
                (static_cast<float>(here[i]) * ofHere + static_cast<float>(sum) * ofSum + 450.5f) *
                (1.0f / 900.0f);
            const float positive = value > 0.0f ? value : 0.0f;
            out[i] =
                static_cast<unsigned char>(static_cast<int>(positive < 255.0f ? positive : 255.0f));
        }
        if (pixel == 4)
            for (std::size_t i = 0; i < bytes; i += 4)
                out[i] = here[i];
    }

private:
    std::size_t m_nPixel;
    std::size_t m_nBytes;
    int m_nAmount;
    std::vector<std::uint16_t> m_Sums; ///< of the three rows; a pixel more at each end
};

/// Filters rows from `first` to before `end`.
/// @param above  what the row before them was, if that has been overwritten; else null
void fnFilterRows(const CqImage& image, std::uint32_t first, std::uint32_t end,
                  unsigned char* above, int amount, unsigned char* out) {
    const std::size_t pixel = image.BytesPerPixel;
    CqConvMask window(image, 3, static_cast<int>(first) - 1);
    RowFilter filter(image.Width, pixel, amount);
    for (; first < end; ++first, out += image.Width * pixel, above = nullptr) {
        window.fnGotoNextLine();
        Rows rows{};
        window.fnGetLine(rows[0], rows[1], rows[2]);
        if (above)
            rows[0] = above;
        filter.fnRun(rows, out);
    }
}

void fnPutRow(CqImage& image, std::uint32_t y, const unsigned char* row) {
    CqImageLine line;
    image.fnAccessLine(y, &line, false);
    std::copy_n(row, image.Width * std::size_t{image.BytesPerPixel}, line.LineBuffer);
}

} // namespace

void fnSoften(CqImage& image, int amount, CqProgressDisplay* progress) {
    const std::size_t bytes = image.Width * std::size_t{image.BytesPerPixel};
    const Hands hands(kPixelTime * image.Width * image.Height);
    const std::size_t fair = std::max<std::size_t>(kHandPixels / image.Width, 1);
    const auto batch =
        static_cast<std::uint32_t>(std::min<std::size_t>(hands.fnGetCount() * fair, image.Height));
    // The image's own rows are overwritten only when the whole batch is filtered, and the one above
    // the next batch is copied before.
    Bytes filtered(batch * bytes);
    Bytes above(bytes);
    for (std::uint32_t first = 0; first < image.Height;) {
        const std::uint32_t start = first;
        const std::uint32_t count = std::min(batch, image.Height - start);
        hands.fnRun(count, [&](std::uint32_t from, std::uint32_t end) {
            fnFilterRows(image, start + from, start + end,
                         from == 0 && start > 0 ? above.data() : nullptr, amount,
                         filtered.data() + from * bytes);
        });
        CqImageLine last;
        image.fnAccessLine(start + count - 1, &last, true);
        std::copy_n(last.LineBuffer, bytes, above.data());
        for (const unsigned char* row = filtered.data(); first < start + count; row += bytes) {
            fnPutRow(image, first, row);
            if (!fnGoOn(progress, first++, image.Height))
                return;
        }
    }
}

} // namespace darkroom
