/// @file The pages of the gallery: plain values, and their conversion to HTML.
#pragma once

#include <string>
#include <vector>

/// A picture file and its description.
struct Plate {
    std::string m_File; ///< without its folder
    std::string m_Caption;
    unsigned int m_nWidth;
    unsigned int m_nHeight;
};

/// Pictures to be compared with each other.
struct Row {
    std::string m_Title;
    std::string m_Text; ///< may be empty
    std::vector<Plate> m_Plates;
};

/// Rows under one heading.
struct Section {
    std::string m_Title;
    std::vector<std::string> m_Facts; ///< one paragraph each
    std::vector<Row> m_Rows;
};

/// One HTML page.
struct Page {
    std::string m_Name; ///< used in the file name
    std::string m_Title;
    std::string m_Text;
    std::string m_Cover; ///< the picture that represents the page; may be empty
    bool m_bFullSize;    ///< whether pictures are shown at full size, or reduced and linked
    std::vector<Section> m_Sections;
};

struct PagesResult {
    std::string m_Path; ///< of index.html, or of the first file that can't be written
    bool m_bDone;       ///< whether all files were written
};
/// Writes each page to its own file, and index.html, which links to them. They need nothing but the
/// pictures beside them.
PagesResult fnWritePages(const std::string& folder, const std::vector<Page>& pages);
