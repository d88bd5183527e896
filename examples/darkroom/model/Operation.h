/// @file
/// The operations of the darkroom as a table: what a menu shows of each, what a dialog asks for,
/// and the function that does it. Whoever adds an operation adds one entry here, and nothing
/// elsewhere.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

class CqImage;
class CqProgressDisplay;

namespace darkroom {

enum class ParameterKind {
    NUMBER, ///< a whole number between two limits
    SWITCH, ///< 0 or 1
    COLOR   ///< red in bits 0 to 7, green in 8 to 15, blue in 16 to 23
};

/// One value that an operation asks for.
struct Parameter {
    const char* m_pszName;
    ParameterKind m_eKind;
    int m_nLow;
    int m_nHigh;
    int m_nStart;
    const char* m_pszUnit; ///< shown behind the number; may be empty
};

using Values = std::vector<int>;

/// How the effect of an operation can be shown before it is done.
enum class PreviewKind {
    NONE,
    PIXELS,     ///< works on pixels where they stand
    NEIGHBOURS, ///< the same, but looks at the eight around each
    SIZE,       ///< gives another size: width, height, whether pixels are blended
    SCALE,      ///< the same by percent, always blended
    TURN        ///< turns: degrees clockwise, whether pixels are blended, colour of the ground
};

enum class MenuPlace { ADJUST, FILTER, IMAGE };

/// A change of a picture. All of the text lives as long as the program.
struct Operation {
    const char* m_pszId;   ///< of the action and for scripts
    const char* m_pszName; ///< as the menu and "Undo …" tell it
    MenuPlace m_eMenu;
    const char* m_pszShortcut; ///< may be empty
    std::span<const Parameter> m_Parameters;
    PreviewKind m_ePreview;
    std::uint32_t m_nDepths; ///< depths that it works on, as a mask of fnDepthBit and kGreyBit
    /// Does it. Told to end by the progress object, which may be null, it returns early, with the
    /// image in any state. Raises the memory exception.
    void (*m_pRun)(CqImage& image, std::span<const int> values, CqProgressDisplay* progress);
    /// Start values that depend on the picture; null: the table's own.
    void (*m_pStart)(const CqImage& image, std::span<int> values) = nullptr;
    /// Whether the picture stays as it is with these values; null: it never does.
    bool (*m_pIsNeutral)(const CqImage& image, std::span<const int> values) = nullptr;
    int m_nReach = 0; ///< pixels about each pixel that it looks at

    bool fnSuits(const CqImage& image) const;
    /// Whether it changes a picture that it suits.
    bool fnChanges(const CqImage& image, std::span<const int> values) const {
        return !m_pIsNeutral || !m_pIsNeutral(image, values);
    }
    /// The values that a dialog begins with.
    Values fnGetStart(const CqImage& image) const;
    /// Whether it may be kept to a selection: size and depth stay.
    bool fnIsLocal() const {
        return m_ePreview == PreviewKind::PIXELS || m_ePreview == PreviewKind::NEIGHBOURS;
    }
};

/// Depths are 4, 8, 16, 24 and 32 bits.
constexpr std::uint32_t fnDepthBit(unsigned int bits) {
    return 1u << (bits / 4);
}

/// Of a picture of 8 bits with the grey ramp: its bytes are brightnesses, not indices. It counts as
/// 8 bits too.
inline constexpr std::uint32_t kGreyBit = 1u;

/// All operations, in the order of the menus.
std::span<const Operation> fnGetOperations();
/// Fills with a colour. Not among them: it begins with the colour of the host's tools.
const Operation& fnGetFillOperation();
/// By its id, among them; null when there is none.
const Operation* fnFindOperation(const char* id);

} // namespace darkroom
