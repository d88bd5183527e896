/// @file The tables from which the pages are made. An exhibit is a row of steps that all begin with
/// the same picture; each step modifies its own copy, and the results are shown.
#pragma once

#include "examples/gallery/Page.h"
#include "examples/gallery/Scenes.h"
#include "platforms/headless/headless.h"

#include <span>
#include <string>

/// What a step works with.
struct Easel {
    CqImage& m_Picture; ///< starts as the exhibit's initial picture; its final state is shown
    Scenes& m_Scenes;   ///< read only
    CqHeadlessWorld& m_World;
    std::string m_Note; ///< a result, appended to the caption
};

/// One result with its caption.
struct Step {
    const char* m_Caption;
    void (*m_Do)(Easel& easel);
};

/// Steps that all begin with the same picture.
struct Exhibit {
    const char* m_Name; ///< used in file names
    const char* m_Title;
    const char* m_Text;
    CqImage& (*m_Start)(Scenes& scenes);
    std::span<const Step> m_Steps;
};

/// Exhibits under one heading.
struct Hall {
    const char* m_Title;
    const char* m_Text;
    std::span<const Exhibit> m_Exhibits;
};

/// The exhibits of one page.
struct Wing {
    const char* m_Name; ///< used in the page's file name
    const char* m_Title;
    const char* m_Text;
    const char* m_Cover; ///< file name of a picture
    std::span<const Hall> m_Halls;
};

/// Everything shown besides the screens.
std::span<const Wing> fnGetWings();

// Initial pictures.
inline CqImage& fnPhotograph(Scenes& scenes) {
    return scenes.m_Photograph;
}
inline CqImage& fnFirst(Scenes& scenes) {
    return scenes.m_First;
}

/// Leaves the initial picture unchanged.
inline void fnLeave(Easel&) {}
inline constexpr Step kBefore = {"Before", fnLeave};

// The tables of the exhibits, each defined in its own source.
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
