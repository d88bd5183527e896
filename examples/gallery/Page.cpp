#include "examples/gallery/Page.h"

#include <fstream>

namespace {

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<style>
body { margin: 0 auto 4em; max-width: 1256px; padding: 0 1em; background: #1c1d1f; color: #dcdcd8;
       font: 15px/1.5 system-ui, sans-serif; }
nav { display: flex; flex-wrap: wrap; gap: 0 1.6em; padding: .8em 0; border-bottom: 1px solid #444;
      position: sticky; top: 0; background: #1c1d1f; }
nav a { text-decoration: none; color: #a5a5a0; } nav a.here, nav a:hover { color: #fff; }
h1 { font-size: 1.7em; margin: 1em 0 .4em; }
h2 { margin: 2.5em 0 .6em; border-bottom: 1px solid #444; font-size: 1.3em; }
h3 { margin: 1.8em 0 .2em; font-size: 1em; }
p { max-width: 50em; margin: .3em 0 .8em; } a { color: inherit; }
ul { max-width: 50em; padding-left: 1.2em; }
figure { margin: 0; } img { display: block; background: #000; }
figcaption { font-size: .85em; line-height: 1.4; color: #b5b5b0; padding: .3em 0 .6em; }
.full { display: flex; flex-wrap: wrap; gap: .6em 14px; align-items: flex-start; }
.full img { image-rendering: pixelated; max-width: 100%; height: auto; }
.small { display: grid; grid-template-columns: repeat(auto-fill, minmax(14em, 1fr)); gap: .8em; }
.small img { width: 100%; height: auto; }
.cards { display: grid; grid-template-columns: repeat(auto-fill, minmax(280px, 1fr)); gap: 1.2em; }
.cards a { text-decoration: none; } .cards h2 { border: 0; margin: .4em 0 0; }
.cards img { width: 100%; aspect-ratio: 4/3; object-fit: cover; }
</style>
)";

std::string fnEscape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

/// Everything before the page's own content, with links to the other pages; null for index.html.
void fnBegin(std::ostream& out, const std::vector<Page>& pages, const Page* here) {
    const std::string title = here ? here->m_Title : "q32Base gallery";
    out << kHead << "<title>" << fnEscape(title) << "</title>\n</head>\n<body>\n<nav>"
        << "<a href=\"index.html\"" << (here ? "" : " class=\"here\"") << ">Gallery</a>";
    for (const Page& page : pages)
        out << "<a href=\"" << page.m_Name << ".html\"" << (&page == here ? " class=\"here\"" : "")
            << '>' << fnEscape(page.m_Title) << "</a>";
    out << "</nav>\n<h1>" << fnEscape(title) << "</h1>\n";
}

void fnWriteRow(std::ostream& out, const Row& row, bool fullSize) {
    out << "<h3>" << fnEscape(row.m_Title) << "</h3>\n";
    if (!row.m_Text.empty())
        out << "<p>" << fnEscape(row.m_Text) << "</p>\n";
    out << "<div class=\"" << (fullSize ? "full" : "small") << "\">\n";
    for (const Plate& plate : row.m_Plates) {
        const std::string caption = fnEscape(plate.m_Caption);
        out << "<figure";
        if (fullSize)
            out << " style=\"width:" << plate.m_nWidth << "px\"";
        out << "><a href=\"" << plate.m_File << "\"><img loading=\"lazy\" width=\""
            << plate.m_nWidth << "\" height=\"" << plate.m_nHeight << "\" src=\"" << plate.m_File
            << "\" alt=\"" << fnEscape(row.m_Title) << ": " << caption << "\"></a><figcaption>"
            << caption << "</figcaption></figure>\n";
    }
    out << "</div>\n";
}

void fnWritePage(std::ostream& out, const std::vector<Page>& pages, const Page& page) {
    fnBegin(out, pages, &page);
    out << "<p>" << fnEscape(page.m_Text) << "</p>\n";
    for (const Section& section : page.m_Sections) {
        out << "<h2>" << fnEscape(section.m_Title) << "</h2>\n";
        if (section.m_Facts.size() == 1)
            out << "<p>" << fnEscape(section.m_Facts.front()) << "</p>\n";
        else if (!section.m_Facts.empty()) {
            out << "<ul>\n";
            for (const std::string& fact : section.m_Facts)
                out << "<li>" << fnEscape(fact) << "</li>\n";
            out << "</ul>\n";
        }
        for (const Row& row : section.m_Rows)
            fnWriteRow(out, row, page.m_bFullSize);
    }
    out << "</body>\n</html>\n";
}

void fnWriteIndex(std::ostream& out, const std::vector<Page>& pages) {
    fnBegin(out, pages, nullptr);
    out << "<p>All that is seen here was drawn, computed and saved by the library.</p>\n"
           "<div class=\"cards\">\n";
    for (const Page& page : pages) {
        out << "<a href=\"" << page.m_Name << ".html\">";
        if (!page.m_Cover.empty())
            out << "<img src=\"" << page.m_Cover << "\" alt=\"\">";
        out << "<h2>" << fnEscape(page.m_Title) << "</h2><p>" << fnEscape(page.m_Text)
            << "</p></a>\n";
    }
    out << "</div>\n</body>\n</html>\n";
}

} // namespace

PagesResult fnWritePages(const std::string& folder, const std::vector<Page>& pages) {
    for (const Page& page : pages) {
        const std::string path = folder + '/' + page.m_Name + ".html";
        std::ofstream out(path, std::ios::trunc);
        fnWritePage(out, pages, page);
        out.close();
        if (out.fail())
            return {path, false};
    }
    const std::string path = folder + "/index.html";
    std::ofstream out(path, std::ios::trunc);
    fnWriteIndex(out, pages);
    out.close();
    return {path, !out.fail()};
}
