#pragma once

#include "examples/gallery/Exhibits.h"
#include "examples/gallery/Terminal.h"

#include <string>

/// What is needed to make exhibits and where they are stored.
struct Hanging {
    const std::string& m_Folder;
    Scenes& m_Scenes;
    CqHeadlessWorld& m_World;
    ProgressLine& m_Progress;

    /// Computes a wing's exhibits, saves their pictures, and adds them to a page. Raises the memory
    /// exception; throws Aborted, and Unshown when a picture can't be saved: the page then holds
    /// those before it.
    void fnHang(const Wing& wing, Page& page);
};
