#pragma once

#include "examples/gallery/Exhibits.h"
#include "examples/gallery/Terminal.h"

#include <string>

/// Where and with what exhibits are hung.
struct Hanging {
    const std::string& m_Folder;
    Scenes& m_Scenes;
    CqHeadlessWorld& m_World;
    ProgressLine& m_Progress;

    /// Works out a wing's exhibits, saves their pictures, and adds them to a page. Raises the
    /// memory exception; throws Aborted, and Unshown when a picture can't be saved: the page then
    /// holds those before it.
    void fnHang(const Wing& wing, Page& page);
};
