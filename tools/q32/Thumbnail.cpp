#include "q32Base/image/CqImage.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Composite.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Resize.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <cmath>
#include <filesystem>
#include <set>

namespace tool {

namespace {

namespace fs = std::filesystem;

/// Reads a picture and reduces it to fit into a box.
void fnReadReduced(const std::string& path, const SizeSpec& box, CqImage& image, Session& session) {
    fnReadFile(path, image, {box.m_nWidth, box.m_nHeight}, session);
    const Extent size = fnFitSize({image.Width, image.Height}, box);
    if (size.m_nWidth <= image.Width && size.m_nHeight <= image.Height)
        fnFilterSize(image, size, session);
}

/// Where each thumbnail goes. Throws UsageError before any is made.
std::vector<std::string> fnListOutputs(const CommandLine& line) {
    std::error_code ignored;
    const bool folder = fs::is_directory(line.m_szOutput, ignored);
    if (!folder && (line.m_Files.size() > 1 || line.m_szOutput.ends_with('/')))
        throw UsageError{"thumbnail: " + line.m_szOutput + " must be a folder that exists"};
    std::vector<std::string> outputs;
    std::set<std::string> names;
    for (const std::string& input : line.m_Files) {
        if (!folder) {
            outputs.push_back(line.m_szOutput);
            break;
        }
        fs::path name = fs::path(input).filename();
        name.replace_extension(line.m_Steps.front().m_Words.fnGetText("format"));
        if (!names.insert(name).second)
            throw UsageError{"thumbnail: two pictures would be called " + name.string()};
        outputs.push_back(fs::path(line.m_szOutput) / name);
    }
    for (const std::string& output : outputs)
        fnRequireFormat(output);
    return outputs;
}

/// The cells of a sheet.
struct Grid {
    std::uint64_t m_nColumns;
    std::uint64_t m_nRows;
    std::uint64_t m_nGap; ///< pixels between cells and around them
    SizeSpec m_Cell;
};

/// The corner of a picture in the middle of its cell, along one side.
int fnPlaceInCell(std::uint64_t index, std::uint64_t gap, std::uint32_t cell,
                  std::uint32_t length) {
    return static_cast<int>(index * (cell + gap) + gap + (cell - length) / 2);
}

void fnMakeSheet(const CommandLine& line, const Grid& grid, Session& session) {
    const CqColor background = line.m_Common.fnGetColor("background");
    const unsigned int bits = background.m_Alpha == 255 ? 24 : 32;
    const std::uint64_t gap = grid.m_nGap;
    const std::uint64_t width = grid.m_nColumns * (grid.m_Cell.m_nWidth + gap) + gap;
    const std::uint64_t height = grid.m_nRows * (grid.m_Cell.m_nHeight + gap) + gap;
    fnRequireRoom(width, height, bits);
    CqImage sheet(static_cast<unsigned int>(width), static_cast<unsigned int>(height), bits,
                  nullptr, 0);
    sheet.fnFill(background, nullptr, false);
    for (std::size_t i = 0; i < line.m_Files.size(); ++i) {
        CqImage image;
        fnReadReduced(line.m_Files[i], grid.m_Cell, image, session);
        const Place place{
            fnPlaceInCell(i % grid.m_nColumns, gap, grid.m_Cell.m_nWidth, image.Width),
            fnPlaceInCell(i / grid.m_nColumns, gap, grid.m_Cell.m_nHeight, image.Height)};
        fnComposite(sheet, image, place, nullptr, session);
    }
    fnSaveFile(line.m_szOutput, sheet, session);
}

} // namespace

int fnRunThumbnail(const CommandLine& line) {
    const SizeSpec box = line.m_Steps.front().m_Words.fnGetSize("size");
    const std::vector<std::string> outputs = fnListOutputs(line);
    Session session(line.m_Common);
    int code = CODE_DONE;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        try {
            fnExplainFailure(line.m_Files[i], [&] {
                CqImage image;
                fnReadReduced(line.m_Files[i], box, image, session);
                fnSaveFile(outputs[i], image, session);
            });
        } catch (const Failure& failure) {
            session.fnReport(failure.m_szText);
            code = CODE_FAILED;
        }
    }
    return code;
}

int fnRunMontage(const CommandLine& line) {
    const Words& words = line.m_Steps.front().m_Words;
    const SizeSpec cell = words.fnGetSize("size");
    if (cell.m_nWidth == 0 || cell.m_nHeight == 0)
        throw UsageError{"montage: --size must give both sides of a cell"};
    fnRequireFormat(line.m_szOutput);
    const auto count = static_cast<std::uint64_t>(line.m_Files.size());
    const auto square = static_cast<std::uint64_t>(std::ceil(std::sqrt(count)));
    const std::uint64_t columns = std::min(
        count, words.fnHas("columns") ? static_cast<std::uint64_t>(words.fnGetInteger("columns"))
                                      : square);
    const std::uint64_t rows = (count + columns - 1) / columns;
    const auto gap = static_cast<std::uint64_t>(words.fnGetInteger("gap"));
    const Grid grid{columns, rows, gap, cell};
    Session session(line.m_Common);
    fnExplainFailure(line.m_szOutput, [&] { fnMakeSheet(line, grid, session); });
    return CODE_DONE;
}

} // namespace tool
