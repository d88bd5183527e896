#pragma once

#include "q32Base/image/CqImageLine.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <memory>

class CqImage;

/// A window of complete rows that slides down an image, for neighbourhood filters; each row is
/// fetched from the tiles once. Rows above and below the image repeat the edge row.
///
///     CqConvMask window(image, 3, -1);
///     for (std::uint32_t y = 0; y < image.Height; ++y) {
///         window.fnGotoNextLine();
///         unsigned char *above, *here, *below;
///         window.fnGetLine(above, here, below);
///         // filter row y
///     }
///
/// The rows are copies: writing to them doesn't reach the image, and a change of the image shows
/// only in rows fetched later. The image must outlive the window and keep its storage. The image is
/// read without claims.
class Q32_API CqConvMask {
public:
    /// A window of rows of `image`, none of which is read yet. Raises the memory exception.
    /// @param image  not owned
    /// @param lines  height of the window; 0 counts as 1
    /// @param row    the row before the first centre row: -1 to start at row 0
    CqConvMask(const CqImage& image, unsigned int lines, int row);
    virtual ~CqConvMask() = default;
    CqConvMask(const CqConvMask&) = delete;
    CqConvMask& operator=(const CqConvMask&) = delete;

    /// Moves the window one row down; call it once before the first read. Raises the memory
    /// exception, also for lost pixels of the image's scratch file, with the window unmoved, so
    /// that the call can be repeated.
    void fnGotoNextLine();

    /// The window's row `i`, counted from the top, in the image's byte order. The address is valid
    /// until the window moves.
    unsigned char* fnGetLine(int i);
    /// The rows of a window of three, from the top. A higher window returns its last row as `c`,
    /// deliberately: call fnGetLine(int).
    void fnGetLine(unsigned char*& a, unsigned char*& b, unsigned char*& c);
    /// The same for five.
    void fnGetLine(unsigned char*& a, unsigned char*& b, unsigned char*& c, unsigned char*& d,
                   unsigned char*& e);
    /// The image row of the window's row `i`. For a row above the image it is the last row,
    /// deliberately, although the window holds row 0 there.
    int fnGetLineCoord(int i) const;

private:
    std::uint32_t fnSlot(std::uint32_t i) const { return (m_nHead + i) % m_nLines; }
    Q32_LOCAL void fnFetch(std::uint32_t slot, std::int64_t row);
    Q32_LOCAL void fnGetLines(unsigned char** const (&out)[5], std::uint32_t count);

    const CqImage* m_pImage;
    std::uint32_t m_nLines;
    std::int32_t m_nRow;                 ///< the image's row at the window's centre
    std::uint32_t m_nHead = 0xFFFFFFFFu; ///< slot of the window's top row
    bool m_bFirst = true;                ///< until the first move
    std::unique_ptr<CqImageLine[]> m_pRing;
};
