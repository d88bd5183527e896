/// @file The operations of the darkroom as a table: the menu text, the values that a dialog asks
/// for, and the function that runs each. Adding an operation takes one entry here and nothing
/// elsewhere.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

class CqImage;
class CqProgressDisplay;

namespace darkroom {

/// Kind of a value; it selects the control in the dialog.
enum class ParameterKind {
    NUMBER, ///< an integer between two limits
    SWITCH, ///< 0 or 1
    COLOR,  ///< red in bits 0 to 7, green in 8 to 15, blue in 16 to 23
    CURVE   ///< the last one; its points, packed, are all further values
};

/// One value that an operation needs.
struct Parameter {
    const char* m_pszName;
    ParameterKind m_eKind;
    int m_nLow;
    int m_nHigh;
    int m_nStart;
    const char* m_pszUnit; ///< shown behind the number; may be empty
    int m_nScale = 1;      ///< values are this many times what is shown: 100 gives two decimals
    bool m_bRatio = false; ///< a factor: its slider moves by equal ratios, so 1 is in the middle
};

using Values = std::vector<int>;

/// Angles are in hundredths of degrees.
inline constexpr int kDegree = 100;

/// How the effect of an operation can be previewed.
enum class PreviewKind {
    NONE,
    PIXELS,     ///< changes pixels in place
    NEIGHBOURS, ///< the same, but reads the eight neighbours of each
    AREA,       ///< reads the pixels around each, within a radius: the first value, scaled
    SIZE,       ///< changes the size: width, height, whether pixels are blended
    ROTATION    ///< hundredths of degrees clockwise, whether pixels are blended, background colour
};

enum class MenuPlace { ADJUST, FILTER, IMAGE };

/// A change to a picture. All text has static storage.
struct Operation {
    const char* m_pszId;   ///< names the action; used by scripts
    const char* m_pszName; ///< as shown in the menu and in "Undo …"
    MenuPlace m_eMenu;
    const char* m_pszShortcut; ///< may be empty
    std::span<const Parameter> m_Parameters;
    PreviewKind m_ePreview;
    std::uint32_t m_nDepths; ///< supported depths, as a mask of fnDepthBit and kGreyBit
    /// Runs it. If the progress object, which may be null, requests an abort, it returns early with
    /// the image in any state. Raises the memory exception.
    void (*m_pRun)(CqImage& image, std::span<const int> values, CqProgressDisplay* progress);
    /// Start values that depend on the picture; null: those of the table.
    void (*m_pStart)(const CqImage& image, std::span<int> values) = nullptr;
    /// Whether these values leave the picture unchanged; null: they never do.
    bool (*m_pIsNeutral)(const CqImage& image, std::span<const int> values) = nullptr;
    /// How many pixels around each pixel it reads; null: none.
    int (*m_pReach)(std::span<const int> values) = nullptr;
    bool m_bHistogram = false; ///< the dialog shows how often each value occurs

    bool fnSuits(const CqImage& image) const;
    int fnGetReach(std::span<const int> values) const { return m_pReach ? m_pReach(values) : 0; }
    /// Whether it changes a picture of a supported kind.
    bool fnChanges(const CqImage& image, std::span<const int> values) const {
        return !m_pIsNeutral || !m_pIsNeutral(image, values);
    }
    /// The values that a dialog starts with.
    Values fnGetStart(const CqImage& image) const;
    /// Whether it may be limited to a selection: size and depth stay the same.
    bool fnIsLocal() const {
        return m_ePreview == PreviewKind::PIXELS || m_ePreview == PreviewKind::NEIGHBOURS ||
               m_ePreview == PreviewKind::AREA;
    }
};

/// Depths are 4, 8, 16, 24 and 32 bits.
constexpr std::uint32_t fnDepthBit(unsigned int bits) {
    return 1u << (bits / 4);
}

/// For a picture of 8 bits with the grey ramp: its bytes are brightnesses, not indices. It counts
/// as 8 bits too.
inline constexpr std::uint32_t kGreyBit = 1u;

/// All operations, in the order of the menus.
std::span<const Operation> fnGetOperations();
/// Fills with a colour. Not in the table, because it starts with the colour of the host's tools.
const Operation& fnGetFillOperation();
/// Finds an operation of the table by its id; null when there is none.
const Operation* fnFindOperation(const char* id);

} // namespace darkroom
