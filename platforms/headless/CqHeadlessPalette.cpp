#include "platforms/headless/CqHeadlessPalette.h"

#include <algorithm>
#include <atomic>

namespace {

/// The twenty static colours, in the order of their slots.
constexpr std::uint32_t kStaticColors[] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080,
                                           0x800080, 0x008080, 0xC0C0C0, 0xC0DCC0, 0xA6CAF0,
                                           0xFFFBF0, 0xA0A0A4, 0x808080, 0xFF0000, 0x00FF00,
                                           0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};

std::uint32_t fnToColor(const PALETTEENTRY& entry) {
    return static_cast<std::uint32_t>(entry.peRed) << 16 |
           static_cast<std::uint32_t>(entry.peGreen) << 8 | entry.peBlue;
}

/// A palette may outlive one headless world and be selected in another, so all epochs are unique.
std::uint64_t fnNextEpoch() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

int fnDistance(std::uint32_t a, std::uint32_t b) {
    int sum = 0;
    for (const unsigned shift : {0u, 8u, 16u}) {
        const int step =
            static_cast<int>(a >> shift & 0xFFu) - static_cast<int>(b >> shift & 0xFFu);
        sum += step * step;
    }
    return sum;
}

} // namespace

CqHeadlessHardware::CqHeadlessHardware() {
    fnReset();
}

void CqHeadlessHardware::fnReset() {
    m_Colors.fill(0);
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        m_Held[slot] = fnIsStatic(slot);
    std::copy_n(kStaticColors, kStatic, m_Colors.begin());
    std::copy_n(kStaticColors + kStatic, kStatic, m_Colors.end() - kStatic);
    m_nEpoch = fnNextEpoch();
}

std::vector<BYTE> CqHeadlessHardware::fnGetHeldSlots() const {
    std::vector<BYTE> slots;
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        if (m_Held[slot])
            slots.push_back(static_cast<BYTE>(slot));
    return slots;
}

BYTE CqHeadlessHardware::fnFindNearest(std::uint32_t color, const std::vector<BYTE>& slots) const {
    return *std::min_element(slots.begin(), slots.end(), [&](BYTE a, BYTE b) {
        return fnDistance(m_Colors[a], color) < fnDistance(m_Colors[b], color);
    });
}

UINT CqHeadlessHardware::fnRealize(CqHeadlessPalette& palette, bool background) {
    std::vector<BYTE> slots;
    slots.reserve(palette.fnGetEntries().size());
    const auto before = m_Colors;
    if (!background)
        for (std::size_t slot = 0; slot < kSlots; ++slot)
            m_Held[slot] = fnIsStatic(slot);
    std::vector<BYTE> held = fnGetHeldSlots();
    held.reserve(kSlots);
    for (const PALETTEENTRY& entry : palette.fnGetEntries()) {
        const std::uint32_t color = fnToColor(entry);
        BYTE slot = fnFindNearest(color, held);
        const auto free = std::find(m_Held.begin(), m_Held.end(), false);
        if (m_Colors[slot] != color && free != m_Held.end()) {
            slot = static_cast<BYTE>(free - m_Held.begin());
            *free = true;
            m_Colors[slot] = color;
            held.push_back(slot);
        }
        slots.push_back(slot);
    }
    palette.m_Slots = std::move(slots);
    palette.m_nEpoch = m_nEpoch;
    UINT changed = 0;
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        changed += m_Colors[slot] != before[slot] ? 1u : 0u;
    return changed;
}

std::vector<BYTE> CqHeadlessHardware::fnGetSlots(const CqPaletteObject* palette) const {
    std::vector<BYTE> slots;
    if (!palette) {
        for (std::size_t slot = 0; slot < kSlots; ++slot)
            if (fnIsStatic(slot))
                slots.push_back(static_cast<BYTE>(slot));
        return slots;
    }
    const auto* own = dynamic_cast<const CqHeadlessPalette*>(palette);
    if (own && own->m_nEpoch == m_nEpoch)
        return own->m_Slots;
    const std::vector<BYTE> held = fnGetHeldSlots();
    for (const PALETTEENTRY& entry : palette->fnGetEntries())
        slots.push_back(fnFindNearest(fnToColor(entry), held));
    return slots;
}
