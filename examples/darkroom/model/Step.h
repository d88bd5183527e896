/// @file What one step of the history holds.
#pragma once

#include "examples/darkroom/model/Tiles.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqMask.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

class CqProgressDisplay;

namespace darkroom {

/// The pixels of a picture on the other side of a change: the complete picture, or only the tiles
/// that the change touches. Exchanging them with the picture undoes the change, and exchanging them
/// again redoes it. They are allocated as the memory policy decides.
class Step : public CObject {
public:
    Step() = default;
    /// @param moves  pixels move, so a selection would cover different ones
    Step(std::string name, bool moves) : m_strName(std::move(name)), m_bMoves(moves) {}

    /// Saves the pixels of a picture before it is changed: all of them, or those of some tiles.
    /// After an abort the content is undefined. Raises the memory exception.
    /// @param tiles     that the change may touch; nothing else of the picture may change then
    /// @param progress  may be null
    /// @return false when the user aborted it
    bool fnSave(CqImage& image, std::optional<Tiles> tiles, CqProgressDisplay* progress);
    /// Exchanges the saved pixels with the picture's. Copies saved tiles, but not a complete
    /// picture.
    /// @param progress  may be null
    /// @return false when the user aborted it; nothing is exchanged then
    bool fnExchange(CqImage& image, CqProgressDisplay* progress) noexcept;
    /// Bytes that an exchange copies.
    std::uint64_t fnGetExchanged() const;
    /// Restores the saved pixels as far as a selection leaves them, at depths of whole bytes.
    void fnRestoreUnselected(CqImage& image, CqMask& selection);
    /// Takes over the content of another step.
    void fnTake(Step& other) noexcept;

    /// The tiles that differ; null: any pixel may, or the size and depth.
    const Tiles* fnGetTiles() const { return m_bWhole ? nullptr : &m_Tiles; }
    const std::string& fnGetName() const { return m_strName; }
    bool fnMoves() const { return m_bMoves; }
    void fnSetMoves(bool moves) { m_bMoves = moves; }

private:
    bool fnSaveTiles(CqImage& image, CqProgressDisplay* progress);
    std::size_t fnCountTiles(const CqImage& image) const {
        return m_bWhole ? image.TileCount : m_Tiles.size();
    }
    /// Calls `work` with some of the saved tiles and the picture's.
    template <typename Work>
    void fnForTiles(CqImage& image, std::size_t first, std::size_t end, Work&& work);
    void fnSwapTiles(CqImage& image, std::size_t first, std::size_t end) noexcept;

    std::string m_strName;
    bool m_bMoves = false;
    bool m_bWhole = true;
    CqImage m_Image; ///< the picture, or its tiles one below the other
    Tiles m_Tiles;
};

} // namespace darkroom
