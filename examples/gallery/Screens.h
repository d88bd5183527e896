/// @file Draws pictures on headless screens, and saves what they show.
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

/// A scale, and the visible part of the scaled picture.
struct View {
    std::string m_Name;     ///< used in file names
    std::string m_Label;    ///< shown to the user
    unsigned int m_nFactor; ///< enlargement or reduction
    bool m_bShrink;
    double m_nAcross; ///< 0 the left end, 1 the right end
    double m_nDown;
};

/// The views of a picture; `corners` adds its far ends at full size.
std::vector<View> fnMakeViews(CqImage& image, bool corners);

/// Copies part of a screen. A screen of 256 colours keeps its palette; all others become 24 bits.
/// Raises the memory exception.
void fnCopyScreen(const CqHeadlessScreen& screen, const CRect& part, CqImage& copy);

/// Headless screens, one after another, in one world.
class Screens {
public:
    Screens(CqHeadlessWorld& world, std::string folder)
        : m_World(world), m_Folder(std::move(folder)) {}

    /// Draws every view of a picture on every screen, saves the results as PNG files whose names
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
