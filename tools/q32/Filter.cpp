#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "q32Base/operations/CqConvMask.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <vector>

namespace tool {

namespace {

using Row = std::vector<float>;

constexpr float kGrey = 128;

/// The rows around one, as numbers, with the columns at both edges repeated `m_nReach` times.
struct Window {
    std::vector<const unsigned char*> m_Rows; ///< from the top
    std::size_t m_nReach = 0;                 ///< rows above and below
    std::size_t m_nPixel = 0;                 ///< bytes
    std::size_t m_nWidth = 0;                 ///< pixels

    const unsigned char* fnGetHere() const { return m_Rows[m_nReach]; }
    std::size_t fnGetBytes() const { return m_nWidth * m_nPixel; }
};

/// Computes a row of sums from a window.
using RowFilter = std::function<void(const Window& window, Row& out)>;

/// The product of a row with a column of weights, padded on both sides.
void fnPad(const Window& window, Row& padded) {
    const std::size_t margin = window.m_nReach * window.m_nPixel;
    const std::size_t bytes = window.fnGetBytes();
    for (std::size_t i = 0; i < margin; ++i) {
        const std::size_t channel = i % window.m_nPixel;
        padded[i] = padded[margin + channel];
        padded[margin + bytes + i] = padded[margin + bytes - window.m_nPixel + channel];
    }
}

/// Adds a padded row, shifted by each weight's column, to the sums.
void fnAddRow(const Window& window, const Row& padded, const float* weights, Row& out) {
    for (std::size_t column = 0; column < 2 * window.m_nReach + 1; ++column) {
        const float weight = weights[column];
        const float* const in = padded.data() + column * window.m_nPixel;
        if (weight != 0)
            for (std::size_t i = 0; i < out.size(); ++i)
                out[i] += weight * in[i];
    }
}

/// A filter of any weights, row by row.
RowFilter fnMakeWeights(std::vector<double> given, float base) {
    const auto side = static_cast<std::size_t>(std::lround(std::sqrt(given.size())));
    const double sum = std::accumulate(given.begin(), given.end(), 0.0);
    Row weights;
    for (const double weight : given)
        weights.push_back(static_cast<float>(sum == 0 ? weight : weight / sum));
    return [weights, side, base](const Window& window, Row& out) {
        const std::size_t margin = window.m_nReach * window.m_nPixel;
        Row padded(out.size() + 2 * margin);
        std::ranges::fill(out, base);
        for (std::size_t row = 0; row < side; ++row) {
            std::copy_n(window.m_Rows[row], out.size(), padded.begin() + static_cast<long>(margin));
            fnPad(window, padded);
            fnAddRow(window, padded, &weights[row * side], out);
        }
    };
}

/// Weights of a bell over a radius: their sum is 1, and they are nearly 0 beyond it.
Row fnMakeBell(int radius) {
    const double width = (radius + 1) / 2.0;
    std::vector<double> bell;
    for (int i = -radius; i <= radius; ++i)
        bell.push_back(std::exp(-(i * i) / (2 * width * width)));
    const double sum = std::accumulate(bell.begin(), bell.end(), 0.0);
    Row weights;
    for (const double value : bell)
        weights.push_back(static_cast<float>(value / sum));
    return weights;
}

/// Columns first, then rows: both ways have the same weights.
RowFilter fnMakeBlur(int radius) {
    return [bell = fnMakeBell(radius)](const Window& window, Row& out) {
        const std::size_t margin = window.m_nReach * window.m_nPixel;
        Row padded(out.size() + 2 * margin);
        for (std::size_t row = 0; row < bell.size(); ++row)
            for (std::size_t i = 0; i < out.size(); ++i)
                padded[margin + i] += bell[row] * window.m_Rows[row][i];
        fnPad(window, padded);
        std::ranges::fill(out, 0.0F);
        fnAddRow(window, padded, bell.data(), out);
    };
}

RowFilter fnMakeSharpen(int radius, int amount) {
    const float part = static_cast<float>(amount) / 100;
    return [blur = fnMakeBlur(radius), part](const Window& window, Row& out) {
        blur(window, out);
        for (std::size_t i = 0; i < out.size(); ++i) {
            const float here = window.fnGetHere()[i];
            out[i] = here + part * (here - out[i]);
        }
    };
}

/// Filters every row. Alpha stays.
void fnRunFilter(CqImage& image, int reach, const RowFilter& filter, Session& session) {
    const auto lines = static_cast<unsigned int>(2 * reach + 1);
    // The window holds copies of the rows that it has reached, so a row may be overwritten as soon
    // as it is filtered.
    CqConvMask mask(image, lines, -1);
    const CqPixelWriter writer(image, PIXEL_STORED);
    Window window{std::vector<const unsigned char*>(lines), static_cast<std::size_t>(reach),
                  image.BytesPerPixel, image.Width};
    Row sums(window.fnGetBytes());
    std::vector<unsigned char> row(window.fnGetBytes());
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        mask.fnGotoNextLine();
        for (unsigned int i = 0; i < lines; ++i)
            window.m_Rows[i] = mask.fnGetLine(static_cast<int>(i));
        filter(window, sums);
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] = window.m_nPixel == 4 && i % 4 == 0
                         ? window.fnGetHere()[i]
                         : static_cast<unsigned char>(std::clamp(sums[i] + 0.5F, 0.0F, 255.0F));
        if (!writer.fnWriteRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException();
        session.fnGetProgress().fnReport(y + 1, image.Height);
    }
}

} // namespace

void fnCheckFilter(const Words& words) {
    if ((words.fnGetText("NAME") == "weights") != words.fnHas("weights"))
        throw UsageError{"filter: the filter weights, and no other, needs --weights"};
}

void fnFilter(CqImage& image, const Words& words, Session& session) {
    const std::string& name = words.fnGetText("NAME");
    const int radius = words.fnGetInteger("radius");
    fnMakeTones(image, session);
    session.fnGetProgress().fnBegin("filter");
    if (name == "blur")
        return fnRunFilter(image, radius, fnMakeBlur(radius), session);
    if (name == "sharpen")
        return fnRunFilter(image, radius, fnMakeSharpen(radius, words.fnGetInteger("amount")),
                           session);
    if (name == "edges")
        return fnRunFilter(image, 1, fnMakeWeights({-1, -1, -1, -1, 8, -1, -1, -1, -1}, 0),
                           session);
    if (name == "emboss")
        return fnRunFilter(image, 1, fnMakeWeights({-1, -1, 0, -1, 0, 1, 0, 1, 1}, kGrey), session);
    const std::vector<double> weights = fnParseWeights(words.fnGetText("weights")).value();
    const int reach = weights.size() == 9 ? 1 : weights.size() == 25 ? 2 : 3;
    fnRunFilter(image, reach, fnMakeWeights(weights, 0), session);
}

} // namespace tool
