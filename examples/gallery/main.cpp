// Shows pictures on screens of every depth and zoom, and saves what the screens show.
#include "examples/gallery/IndexPage.h"
#include "examples/gallery/LargePicture.h"
#include "examples/gallery/Screens.h"
#include "examples/gallery/Terminal.h"
#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/memory/CqTileMap.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitAborted = 130;

constexpr char kUsage[] =
    "usage: gallery [--out folder] [--large] picture...\n"
    "\n"
    "Draws PNG, JPEG, TIFF and BMP pictures on screens of 8, 16, 24 and 32 bits, and writes what\n"
    "they show, with a page index.html, into a folder.\n"
    "\n"
    "  --out folder   the folder, by default gallery-out; it is made if it is missing\n"
    "  --large        also makes a picture of 12,000 x 9,000 pixels from the first one\n"
    "\n"
    "Esc stops. Exit codes: 0 all shown, 1 something could not be shown, 2 wrong use, 130 "
    "stopped.\n";

struct Options {
    std::string m_Folder = "gallery-out";
    bool m_bLarge = false;
    bool m_bHelp = false;
    std::vector<std::string> m_Pictures;
};

/// False for what can't be understood.
bool fnParse(int count, char** arguments, Options& options) {
    bool onlyPictures = false;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (onlyPictures || argument.empty() || argument.front() != '-')
            options.m_Pictures.emplace_back(argument);
        else if (argument == "--")
            onlyPictures = true;
        else if (argument == "--large")
            options.m_bLarge = true;
        else if (argument == "--help")
            options.m_bHelp = true;
        else if (argument == "--out" && i + 1 < count)
            options.m_Folder = arguments[++i];
        else
            return false;
    }
    return options.m_bHelp || !options.m_Pictures.empty();
}

/// Where the pixels of an image lie, and how.
std::vector<std::string> fnDescribe(const CqImage& image) {
    const CqTileMap& map = *image.TileMap;
    const std::string tiles = std::to_string(image.TileCount);
    std::vector<std::string> facts;
    facts.push_back(std::to_string(image.Width) + " x " + std::to_string(image.Height) +
                    " pixels of " + std::to_string(image.BitCount) + " bits, " +
                    std::to_string(image.DpiX) + " x " + std::to_string(image.DpiY) +
                    " dots per inch");
    facts.push_back(tiles + (image.TileCount == 1 ? " tile (" : " tiles (") +
                    std::to_string(image.TilesAcross) + " x " + std::to_string(image.TilesDown) +
                    "), " + std::to_string(map.BufferSize) + " bytes");
    facts.push_back(map.FileHandle == kNoFile
                        ? std::string("pixels in RAM")
                        : "pixels in the scratch file " + std::string(map.TempFileName));
    return facts;
}

/// The gallery's run over all pictures. Throws Aborted, and the library's memory exception.
class Gallery {
public:
    Gallery(const Options& options, CqHeadlessWorld& world, CqKeyboardService& keyboard)
        : m_Options(options), m_Screens(world, options.m_Folder), m_Progress(keyboard) {}

    /// Whether all was shown.
    bool fnRun() {
        bool done = true;
        for (const std::string& path : m_Options.m_Pictures) {
            CqImage image;
            if (!fnRead(path, image)) {
                done = false;
                continue;
            }
            done = fnShow(image, std::filesystem::path(path).filename(), false) && done;
            if (m_Options.m_bLarge && !m_bLargeDone) {
                m_bLargeDone = true;
                done = fnShowLarge(image) && done;
            }
        }
        const std::string page = m_Options.m_Folder + "/index.html";
        if (!fnWriteIndexPage(page, m_Exhibits)) {
            q32ShowMsg(-5, nullptr, page.c_str(), nullptr, 0);
            return false;
        }
        std::printf("Look at %s\n", page.c_str());
        return done;
    }

private:
    bool fnRead(const std::string& path, CqImage& image) {
        m_Progress.fnBegin("Reading " + path);
        const CqPictureResult result = q32ReadPicture(path.c_str(), image, &m_Progress);
        m_Progress.fnClear();
        if (result.m_bAborted)
            throw Aborted();
        if (!result.fnIsDone())
            q32ShowMsg(result.m_nMsgId, nullptr, result.m_strPath, nullptr, 0);
        return result.fnIsDone();
    }

    bool fnShowLarge(CqImage& photograph) {
        CqImage large;
        m_Progress.fnBegin("Making a large picture");
        fnMakeLargePicture(photograph, large, m_Progress);
        return fnShow(large, "A large picture", true);
    }

    bool fnShow(CqImage& image, const std::string& title, bool corners) {
        m_Progress.fnClear();
        Exhibit exhibit{title, fnDescribe(image), {}};
        std::printf("%s\n", title.c_str());
        for (const std::string& fact : exhibit.m_Facts)
            std::printf("    %s\n", fact.c_str());
        const std::vector<View> views = fnMakeViews(image, corners);
        m_Progress.fnBegin("Drawing " + title);
        exhibit.m_Shots =
            m_Screens.fnShow(image, views, std::to_string(m_Exhibits.size() + 1), m_Progress);
        m_Progress.fnClear();
        const std::size_t wanted = views.size() * std::size(kScreenDepths) * std::size(kGammas);
        std::printf("    %zu screens saved\n", exhibit.m_Shots.size());
        m_Exhibits.push_back(std::move(exhibit));
        return m_Exhibits.back().m_Shots.size() == wanted;
    }

    const Options& m_Options;
    Screens m_Screens;
    ProgressLine m_Progress;
    std::vector<Exhibit> m_Exhibits;
    bool m_bLargeDone = false;
};

int fnRunGallery(const Options& options) {
    std::error_code error;
    std::filesystem::create_directories(options.m_Folder, error);
    if (error) {
        std::fprintf(stderr, "%s: %s\n", options.m_Folder.c_str(), error.message().c_str());
        return kExitFailed;
    }

    const auto world = q32HeadlessWorld();
    world->m_pScreen->fnKeepDraws(false);
    CqPosixOptions posix;
    posix.m_pHeadless = world;
    CqPlatform platform = q32PosixPlatform(posix);
    const auto keyboard = std::make_shared<TerminalKeyboard>();
    platform.m_pKeyboard = keyboard;
    platform.m_pMessages = std::make_shared<TerminalMessages>(platform.m_pMessages);
    if (!q32Attach(platform))
        return kExitFailed;
    // Scratch files of a run that was killed.
    q32PosixSweepScratchFiles(q32GetVMPolicy()->fnGetDisk(0));

    int code = 0;
    try {
        code = Gallery(options, *world, *keyboard).fnRun() ? 0 : kExitFailed;
    } catch (const Aborted&) {
        std::puts("Stopped.");
        code = kExitAborted;
    } catch (CMemoryException* exception) {
        exception->Delete();
        q32ShowMsg(-1, nullptr, nullptr, nullptr, 0);
        code = kExitFailed;
    }
    q32Detach();
    return code;
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    if (!fnParse(count, arguments, options)) {
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    if (options.m_bHelp) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    return fnRunGallery(options);
}
