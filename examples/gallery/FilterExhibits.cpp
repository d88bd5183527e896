// Neighbourhood filters written by the host, on the library's window of rows.
#include "examples/gallery/Exhibits.h"
#include "q32Base/operations/CqConvMask.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// Weights of a square of pixels. Each channel's weighted sum is divided, then treated by m_eSign
/// and clamped to 0 to 255.
struct Kernel {
    int m_nSide; ///< 3 or 5
    int m_nDivisor;
    enum Sign { CUT, DROP, MIDDLE } m_eSign; ///< keep, drop the sign, add 128
    int m_Weights[25];
};

constexpr Kernel kSharpen = {3, 1, Kernel::CUT, {0, -1, 0, -1, 5, -1, 0, -1, 0}};
constexpr Kernel kEmboss = {3, 1, Kernel::MIDDLE, {-2, -1, 0, -1, 0, 1, 0, 1, 2}};
constexpr Kernel kGauss = {5, 256, Kernel::CUT, {1,  4, 6, 4,  1,  4,  16, 24, 16, 4, 6, 24, 36,
                                                 24, 6, 4, 16, 24, 16, 4,  1,  4,  6, 4, 1}};
constexpr Kernel kEdges = {5, 2, Kernel::DROP, {0,  0,  -1, 0,  0,  0,  -1, -2, -1, 0,  -1, -2, 16,
                                                -2, -1, 0,  -1, -2, -1, 0,  0,  0,  -1, 0,  0}};

unsigned char fnConvolve(const Kernel& kernel, unsigned char* const* rows, const int* columns) {
    int sum = 0;
    const int* weight = kernel.m_Weights;
    for (int j = 0; j < kernel.m_nSide; ++j)
        for (int i = 0; i < kernel.m_nSide; ++i)
            sum += *weight++ * rows[j][columns[i]];
    sum /= kernel.m_nDivisor;
    if (kernel.m_eSign == Kernel::DROP)
        sum = std::abs(sum);
    if (kernel.m_eSign == Kernel::MIDDLE)
        sum += 128;
    return static_cast<unsigned char>(std::clamp(sum, 0, 255));
}

/// Filters a picture of 24 bits; columns beyond its sides repeat the edge, like the window's rows.
void fnFilter(CqImage& image, const Kernel& kernel) {
    CqImage target(image.Width, image.Height, 24, nullptr, 0);
    {
        CqConvMask window(image, static_cast<unsigned int>(kernel.m_nSide), -1);
        CqImageLine out;
        const int last = static_cast<int>(image.Width) - 1;
        unsigned char* rows[5] = {};
        int columns[5] = {};
        for (unsigned int y = 0; y < image.Height; ++y) {
            window.fnGotoNextLine();
            if (kernel.m_nSide == 3)
                window.fnGetLine(rows[0], rows[1], rows[2]);
            else
                window.fnGetLine(rows[0], rows[1], rows[2], rows[3], rows[4]);
            target.fnAccessLine(y, &out, false);
            for (int x = 0; x <= last; ++x)
                for (int channel = 0; channel < 3; ++channel) {
                    for (int i = 0; i < kernel.m_nSide; ++i)
                        columns[i] = 3 * std::clamp(x + i - kernel.m_nSide / 2, 0, last) + channel;
                    out.LineBuffer[3 * x + channel] = fnConvolve(kernel, rows, columns);
                }
        }
    }
    image.fnSwapBuf(target);
}

template <const Kernel& KERNEL>
void fnFilterBy(Easel& easel) {
    fnFilter(easel.m_Picture, KERNEL);
}

constexpr Step kSteps[] = {
    kBefore,
    {"3 x 3: sharpened", fnFilterBy<kSharpen>},
    {"3 x 3: relief, lit from the upper left", fnFilterBy<kEmboss>},
    {"5 x 5: softened by a Gaussian", fnFilterBy<kGauss>},
    {"5 x 5: edges, by a Laplacian of Gaussian", fnFilterBy<kEdges>},
};

constexpr Exhibit kExhibits[] = {
    {"filter", "Four filters",
     "Edge rows and columns are repeated outward, so that no frame is lost.", fnFirst, kSteps},
};

} // namespace

std::span<const Exhibit> fnFilterExhibits() {
    return kExhibits;
}
