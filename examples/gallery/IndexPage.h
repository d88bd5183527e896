#pragma once

#include "examples/gallery/Screens.h"

#include <string>
#include <vector>

/// A picture and what was seen of it.
struct Exhibit {
    std::string m_Title;
    std::vector<std::string> m_Facts; ///< one sentence each
    std::vector<Shot> m_Shots;
};

/// Writes the page that shows all exhibits: one file that needs nothing but the pictures beside it.
/// False when it can't be written.
bool fnWriteIndexPage(const std::string& path, const std::vector<Exhibit>& exhibits);
