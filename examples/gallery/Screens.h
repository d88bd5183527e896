/// @file
/// Drawing pictures on headless screens, and saving what those show.
#pragma once

#include "examples/gallery/Page.h"
#include "examples/gallery/Terminal.h"
#include "platforms/headless/headless.h"
#include "q32Base/image/CqImage.h"

#include <string>
#include <vector>

inline constexpr int kScreenWidth = 640;
inline constexpr int kScreenHeight = 480;
inline constexpr int kScreenDepths[] = {8, 16, 24, 32};
inline constexpr unsigned int kGammas[] = {180, 220};

/// A scale, and the place of the scaled picture that is shown.
struct View {
    std::string m_Name;     ///< for file names
    std::string m_Label;    ///< for people
    unsigned int m_nFactor; ///< times as large, or as small
    bool m_bShrink;
    double m_nAcross; ///< 0 the left end, 1 the right end
    double m_nDown;
};

/// The views of a picture; `corners` adds its far ends at full size.
std::vector<View> fnMakeViews(CqImage& image, bool corners);

/// Copies a part of what a screen shows. A screen of 256 colours keeps its palette; all others
/// become 24 bits. Raises the memory exception.
void fnCopyScreen(const CqHeadlessScreen& screen, const CRect& part, CqImage& copy);

/// A row of headless screens, one after another, in one world.
class Screens {
public:
    Screens(CqHeadlessWorld& world, std::string folder)
        : m_World(world), m_Folder(std::move(folder)) {}

    /// Draws every view of a picture on every screen, saves what they show as PNG files whose names
    /// begin with `name`, and adds a row of them for each view to `section`. Raises the memory
    /// exception; throws Aborted, and Unshown when a screen can't be drawn or saved: the section
    /// then holds those before it.
    void fnShow(CqImage& image, const std::vector<View>& views, const std::string& name,
                ProgressLine& progress, Section& section);

private:
    void fnDraw(CqImage& image, const View& view, const std::string& file);

    CqHeadlessWorld& m_World;
    std::string m_Folder;
};
