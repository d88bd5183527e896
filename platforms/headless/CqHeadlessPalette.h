#pragma once

#include "q32Base/platform/CqScreenService.h"
#include "q32Base/platform/Export.h"

#include <array>
#include <cstdint>
#include <vector>

/// A palette of the headless screen, with the hardware slots assigned to its entries when it was
/// last realized. Changed entries keep their slots, and so their appearance, until the next time.
class Q32_API CqHeadlessPalette final : public CqPaletteObject {
public:
    using CqPaletteObject::CqPaletteObject;

private:
    friend class CqHeadlessHardware;
    std::vector<BYTE> m_Slots;  ///< empty: never realized
    std::uint64_t m_nEpoch = 0; ///< the hardware's epoch then; 0: none
};

/// The 256 colours of an 8-bit screen. The first and the last ten are static; the others are
/// assigned when palettes are realized.
class Q32_API CqHeadlessHardware {
public:
    static constexpr std::size_t kSlots = 256; ///< in all
    static constexpr std::size_t kStatic = 10; ///< at each end

    /// As after `fnReset`.
    CqHeadlessHardware();

    /// Makes all slots except the static ones free and black, and invalidates realized palettes.
    void fnReset();
    /// Colour of a slot, 0x00RRGGBB.
    std::uint32_t fnGetColor(BYTE slot) const { return m_Colors[slot]; }

    /// Assigns a slot to every entry: one with its colour, else a free one that takes the colour,
    /// else the one nearest in colour. A foreground palette may first take all slots that aren't
    /// static; a background one only free ones. Returns the number of slots whose colour has
    /// changed.
    UINT fnRealize(CqHeadlessPalette& palette, bool background);

    /// The slots for the entries of a selected palette, which may be null (the twenty static
    /// colours are used) or not realized (its entries get the nearest colours).
    std::vector<BYTE> fnGetSlots(const CqPaletteObject* palette) const;
    /// The slot among `slots` nearest to a colour, the first of equals. `slots` must not be empty.
    BYTE fnFindNearest(std::uint32_t color, const std::vector<BYTE>& slots) const;

private:
    static bool fnIsStatic(std::size_t slot) { return slot < kStatic || slot >= kSlots - kStatic; }
    Q32_LOCAL std::vector<BYTE> fnGetHeldSlots() const;

    std::array<std::uint32_t, kSlots> m_Colors{};
    std::array<bool, kSlots> m_Held{};
    std::uint64_t m_nEpoch = 0; ///< unique to this hardware, and new at each reset
};
