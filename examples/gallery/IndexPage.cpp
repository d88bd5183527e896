#include "examples/gallery/IndexPage.h"

#include <algorithm>
#include <fstream>

namespace {

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>q32Base gallery</title>
<style>
body { margin: 2em auto; max-width: 82em; padding: 0 1em; background: #1c1d1f; color: #dcdcd8;
       font: 15px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.6em; } h2 { margin-top: 2.5em; border-bottom: 1px solid #444; }
h3 { margin: 1.5em 0 .5em; font-size: 1em; font-weight: 600; }
p, ul { max-width: 50em; } a { color: inherit; }
.row { display: grid; grid-template-columns: repeat(auto-fill, minmax(14em, 1fr)); gap: .8em; }
figure { margin: 0; } img { width: 100%; height: auto; display: block; background: #000; }
figcaption { font-size: .85em; color: #a5a5a0; }
</style>
</head>
<body>
<h1>Pictures on screens of every depth</h1>
<p>Each picture lies in tiles of 128 x 128 pixels and was drawn tile by tile on headless screens of
8, 16, 24 and 32 bits, with gamma 180 (neutral) and 220 (brighter). Click for what the screen shows,
pixel for pixel.</p>
<p>The whole picture is shown at the whole factor that fits it in, since zoom factors are whole
numbers. The library's own fit mode is not shown: it sets the scale and the places, but stages no
pixels.</p>
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

std::string fnCaption(const Shot& shot) {
    return std::to_string(shot.m_nDepth) + " bits, gamma " + std::to_string(shot.m_nGamma);
}

void fnWriteShots(std::ostream& page, const std::vector<Shot>& shots, const std::string& view) {
    page << "<div class=\"row\">\n";
    for (const Shot& shot : shots) {
        if (shot.m_View.m_Name != view)
            continue;
        page << "<figure><a href=\"" << shot.m_File << "\"><img loading=\"lazy\" width=\""
             << kScreenWidth << "\" height=\"" << kScreenHeight << "\" src=\"" << shot.m_File
             << "\" alt=\"" << fnEscape(shot.m_View.m_Label) << ", " << fnCaption(shot)
             << "\"></a><figcaption>" << fnCaption(shot) << "</figcaption></figure>\n";
    }
    page << "</div>\n";
}

void fnWriteExhibit(std::ostream& page, const Exhibit& exhibit) {
    page << "<h2>" << fnEscape(exhibit.m_Title) << "</h2>\n<ul>\n";
    for (const std::string& fact : exhibit.m_Facts)
        page << "<li>" << fnEscape(fact) << "</li>\n";
    page << "</ul>\n";
    std::vector<std::string> shown;
    for (const Shot& shot : exhibit.m_Shots) {
        if (std::find(shown.begin(), shown.end(), shot.m_View.m_Name) != shown.end())
            continue;
        shown.push_back(shot.m_View.m_Name);
        page << "<h3>Zoom " << fnEscape(shot.m_View.m_Label) << "</h3>\n";
        fnWriteShots(page, exhibit.m_Shots, shot.m_View.m_Name);
    }
}

} // namespace

bool fnWriteIndexPage(const std::string& path, const std::vector<Exhibit>& exhibits) {
    std::ofstream page(path, std::ios::trunc);
    page << kHead;
    for (const Exhibit& exhibit : exhibits)
        fnWriteExhibit(page, exhibit);
    page << "</body>\n</html>\n";
    page.close();
    return !page.fail();
}
