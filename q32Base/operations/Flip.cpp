#include "q32Base/operations/Flip.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/operations/ProgressRun_p.h"
#include "q32Base/pixels/Nibbles_p.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

constexpr std::uint32_t kReported = 32; ///< rows to each report

/// Runs `change(unit)`, which is its own inverse, for units from 0 on. Unless it is completed, its
/// destructor runs it again for the units that are done.
template <class Change>
class Reversible {
public:
    explicit Reversible(Change& change) : m_Change(change) {}
    ~Reversible() {
        while (m_nDone > 0)
            m_Change(--m_nDone);
    }
    Reversible(const Reversible&) = delete;
    Reversible& operator=(const Reversible&) = delete;

    /// False after an abort.
    bool fnRun(std::uint32_t count, CqProgressDisplay* progress) {
        const q32::ProgressRun run(progress, count);
        while (m_nDone < count) {
            m_Change(m_nDone++);
            if (m_nDone % kReported == 0 && run.fnAborts(m_nDone - 1))
                return false;
        }
        m_nDone = 0;
        return true;
    }

private:
    Change& m_Change;
    std::uint32_t m_nDone = 0;
};

template <class Change>
bool fnChangeRows(const CqImage& image, std::uint32_t count, CqProgressDisplay* progress,
                  Change change) {
    if (!Reversible<Change>(change).fnRun(count, progress))
        return false;
    image.TileMap->fnRequirePixels();
    return true;
}

void fnReversePixels(unsigned char* row, std::size_t pixels, std::size_t bytes) {
    if (bytes == 1)
        return std::reverse(row, row + pixels);
    unsigned char* end = row + pixels * bytes;
    for (std::size_t i = 0; i < pixels / 2; ++i, row += bytes) {
        end -= bytes;
        std::swap_ranges(row, row + bytes, end);
    }
}

} // namespace

bool q32FlipHorizontal(CqImage& image, CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    CqTileMap& map = *image.TileMap;
    const std::unique_ptr<unsigned char[]> row(q32::fnNewArray<unsigned char>(map.RowBytes));
    if (map.BytesPerPixel != 0)
        return fnChangeRows(image, map.Height, progress, [&](std::uint32_t y) {
            map.fnFetchRow(y, row.get());
            fnReversePixels(row.get(), map.Width, map.BytesPerPixel);
            map.fnStoreRow(y, row.get());
        });
    const std::unique_ptr<unsigned char[]> indices(q32::fnNewArray<unsigned char>(map.Width));
    return fnChangeRows(image, map.Height, progress, [&](std::uint32_t y) {
        map.fnFetchRow(y, row.get());
        q32::fnUnpackNibbles(row.get(), 0, map.Width, indices.get());
        std::reverse(indices.get(), indices.get() + map.Width);
        q32::fnPackNibbles(indices.get(), map.Width, row.get(), 0);
        map.fnStoreRow(y, row.get());
    });
}

bool q32FlipVertical(CqImage& image, CqProgressDisplay* progress) {
    if (!image.TileMap)
        return false;
    CqTileMap& map = *image.TileMap;
    const std::unique_ptr<unsigned char[]> upper(q32::fnNewArray<unsigned char>(map.RowBytes));
    const std::unique_ptr<unsigned char[]> lower(q32::fnNewArray<unsigned char>(map.RowBytes));
    return fnChangeRows(image, map.Height / 2, progress, [&](std::uint32_t y) {
        const std::uint32_t opposite = map.Height - 1 - y;
        map.fnFetchRow(y, upper.get());
        map.fnFetchRow(opposite, lower.get());
        map.fnStoreRow(y, lower.get());
        map.fnStoreRow(opposite, upper.get());
    });
}
