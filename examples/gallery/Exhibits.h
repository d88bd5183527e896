/// @file
/// The tables that the pages are made from. An exhibit is a row of steps that all begin with the
/// same picture; a step does something to its copy, and what comes of it is hung.
#pragma once

#include "examples/gallery/Page.h"
#include "examples/gallery/Scenes.h"
#include "platforms/headless/headless.h"

#include <span>
#include <string>

/// What a step has at hand.
struct Easel {
    CqImage& m_Picture; ///< begins as the exhibit's starting picture; is shown as it ends
    Scenes& m_Scenes;   ///< to be read
    CqHeadlessWorld& m_World;
    std::string m_Note; ///< what was found, to follow the caption
};

struct Step {
    const char* m_Caption;
    void (*m_Do)(Easel& easel);
};

struct Exhibit {
    const char* m_Name; ///< for file names
    const char* m_Title;
    const char* m_Text;
    CqImage& (*m_Start)(Scenes& scenes);
    std::span<const Step> m_Steps;
};

struct Hall {
    const char* m_Title;
    const char* m_Text;
    std::span<const Exhibit> m_Exhibits;
};

struct Wing {
    const char* m_Name; ///< for the page's file
    const char* m_Title;
    const char* m_Text;
    const char* m_Cover; ///< a picture's file
    std::span<const Hall> m_Halls;
};

/// All that is shown beside the screens.
std::span<const Wing> fnGetWings();

// Starting pictures.
inline CqImage& fnPhotograph(Scenes& scenes) {
    return scenes.m_Photograph;
}
inline CqImage& fnFirst(Scenes& scenes) {
    return scenes.m_First;
}

/// The starting picture as it is.
inline void fnLeave(Easel&) {}
inline constexpr Step kBefore = {"Before", fnLeave};

// The halls' tables, one source each.
std::span<const Exhibit> fnFillExhibits();
std::span<const Exhibit> fnMergeExhibits();
std::span<const Exhibit> fnMaskExhibits();
std::span<const Exhibit> fnToneExhibits();
std::span<const Exhibit> fnFilterExhibits();
std::span<const Exhibit> fnDrawingExhibits();
std::span<const Exhibit> fnGaugeExhibits();
std::span<const Exhibit> fnResampleExhibits();
std::span<const Exhibit> fnRotateExhibits();
std::span<const Exhibit> fnAbortExhibits();
std::span<const Exhibit> fnCurveExhibits();
std::span<const Exhibit> fnCrossingExhibits();
