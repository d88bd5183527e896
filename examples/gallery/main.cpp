// Shows pictures on screens of every depth and zoom, and what the library can do with them.
#include "examples/gallery/Hanging.h"
#include "examples/gallery/LargePicture.h"
#include "examples/gallery/Page.h"
#include "examples/gallery/Saving.h"
#include "examples/gallery/Scenes.h"
#include "examples/gallery/Screens.h"
#include "examples/gallery/Terminal.h"
#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/messages/ReportMemory.h"
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
    "Draws PNG, JPEG, TIFF and BMP pictures on screens of 8, 16, 24 and 32 bits, and does to the\n"
    "first two of them what the library can do: fills, merges, tones, filters, sizes, turns,\n"
    "curves. Writes PNG pictures of it all, with pages to look at, into a folder; begin with its\n"
    "index.html.\n"
    "\n"
    "  --out folder   the folder, by default gallery-out; it is made if it is missing\n"
    "  --large        also makes a picture of 12,000 x 9,000 pixels from the first one\n"
    "\n"
    "Esc stops. Exit codes: 0 all shown, 1 something could not be shown, 2 wrong use, 130 "
    "stopped.\n";

constexpr char kScreensText[] =
    "Each picture lies in tiles of 128 x 128 pixels and was drawn tile by tile on headless screens "
    "of 8, 16, 24 and 32 bits, with gamma 180 (neutral) and 220 (brighter). The whole picture is "
    "shown at the whole factor that fits it in, since zoom factors are whole numbers. Click for "
    "what the screen shows, pixel for pixel.";

struct Options {
    std::string m_Folder = "gallery-out";
    bool m_bLarge = false;
    bool m_bHelp = false;
    std::vector<std::string> m_Pictures;
};

/// False for invalid arguments.
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

/// Size of an image, and where its pixels are stored.
std::vector<std::string> fnDescribe(const CqImage& image) {
    std::vector<std::string> facts;
    facts.push_back(std::to_string(image.Width) + " x " + std::to_string(image.Height) +
                    " pixels of " + std::to_string(image.BitCount) + " bits, " +
                    std::to_string(image.DpiX) + " x " + std::to_string(image.DpiY) +
                    " dots per inch");
    facts.push_back(
        std::to_string(image.TileCount) + (image.TileCount == 1 ? " tile (" : " tiles (") +
        std::to_string(image.TilesAcross) + " x " + std::to_string(image.TilesDown) + "), " +
        std::to_string(std::uint64_t{image.RowBytes} * image.Height) + " bytes");
    const CString scratch = image.fnGetScratchPath();
    facts.push_back(scratch.IsEmpty() ? std::string("pixels in RAM")
                                      : "pixels in the scratch file " + std::string(scratch));
    return facts;
}

/// Runs the gallery over all pictures. Throws Aborted, and the library's memory exception.
class Gallery {
public:
    Gallery(const Options& options, CqHeadlessWorld& world, CqKeyboardService& keyboard)
        : m_Options(options), m_World(world), m_Screens(world, options.m_Folder),
          m_Progress(keyboard) {
        m_Pages.push_back({"screens", "Screens of every depth", kScreensText, {}, false, {}});
    }

    /// Whether everything was shown.
    bool fnRun() {
        for (const std::string& path : m_Options.m_Pictures) {
            CqImage image;
            if (fnRead(path, image))
                fnShow(image, std::filesystem::path(path).filename());
        }
        if (m_Scenes.fnComplete())
            for (const Wing& wing : fnGetWings())
                fnHang(wing);
        const PagesResult result = fnWritePages(m_Options.m_Folder, m_Pages);
        if (!result.m_bDone) {
            q32ShowMsg(MESSAGE_CANNOT_SAVE, nullptr, result.m_Path.c_str(), nullptr, 0);
            return false;
        }
        std::printf("Look at %s\n", result.m_Path.c_str());
        return m_bDone;
    }

private:
    bool fnRead(const std::string& path, CqImage& image) {
        m_Progress.fnBegin("Reading " + path);
        const CqPictureResult result = q32ReadPicture(path.c_str(), image, &m_Progress);
        m_Progress.fnClear();
        if (result.m_bAborted)
            throw Aborted();
        if (!result.fnIsDone()) {
            q32ShowMsg(result.m_nMsgId, nullptr, result.m_strPath, nullptr, 0);
            m_bDone = false;
        }
        return result.fnIsDone();
    }

    void fnShow(CqImage& image, const std::string& title) {
        fnShowOnScreens(image, title, false);
        const bool first = m_Pages.front().m_Sections.size() == 1;
        m_Progress.fnBegin("Reducing " + title);
        m_Scenes.fnTake(image, m_Progress);
        if (m_Options.m_bLarge && first) {
            CqImage large;
            m_Progress.fnBegin("Making a large picture");
            fnMakeLargePicture(image, large, m_Progress);
            fnShowOnScreens(large, "A large picture", true);
        }
    }

    void fnShowOnScreens(CqImage& image, const std::string& title, bool corners) {
        m_Progress.fnClear();
        std::vector<Section>& sections = m_Pages.front().m_Sections;
        Section& section = sections.emplace_back(Section{title, fnDescribe(image), {}});
        std::printf("%s\n", title.c_str());
        for (const std::string& fact : section.m_Facts)
            std::printf("    %s\n", fact.c_str());
        m_Progress.fnBegin("Drawing " + title);
        const std::string name = std::to_string(sections.size());
        fnTry([&] {
            m_Screens.fnShow(image, fnMakeViews(image, corners), name, m_Progress, section);
        });
        fnTellSaved(section);
        m_Pages.front().m_Cover = "1-fit-8bit-gamma180.png";
    }

    void fnHang(const Wing& wing) {
        std::printf("%s\n", wing.m_Title);
        m_Progress.fnBegin(wing.m_Title);
        Page& page = m_Pages.emplace_back(
            Page{wing.m_Name, wing.m_Title, wing.m_Text, wing.m_Cover, true, {}});
        fnTry([&] {
            Hanging{m_Options.m_Folder, m_Scenes, m_World, m_Progress}.fnHang(wing, page);
        });
        m_Progress.fnClear();
        for (const Section& section : page.m_Sections)
            fnTellSaved(section);
    }

    template <typename Work>
    void fnTry(Work work) {
        try {
            work();
        } catch (const Unshown&) {
            m_bDone = false;
        }
        m_Progress.fnClear();
    }

    static void fnTellSaved(const Section& section) {
        std::size_t count = 0;
        for (const Row& row : section.m_Rows)
            count += row.m_Plates.size();
        std::printf("    %zu pictures saved\n", count);
    }

    const Options& m_Options;
    CqHeadlessWorld& m_World;
    Screens m_Screens;
    ProgressLine m_Progress;
    Scenes m_Scenes;
    std::vector<Page> m_Pages;
    bool m_bDone = true;
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
    posix.m_Others = world->fnPlatform();
    CqPlatform platform = q32PosixPlatform(posix);
    const auto keyboard = std::make_shared<TerminalKeyboard>();
    platform.m_pKeyboard = keyboard;
    platform.m_pMessages = std::make_shared<TerminalMessages>(platform.m_pMessages);
    if (!q32Attach(platform))
        return kExitFailed;
    // Scratch files of a run that was killed.
    std::vector<std::string> disks;
    for (unsigned int disk = 0; disk < CqVMPolicy::kDisks; ++disk)
        disks.emplace_back(q32GetVMPolicy()->fnGetDisk(disk));
    q32PosixSweepScratchFiles(disks);

    int code = 0;
    try {
        const bool done =
            q32::fnReportMemory([&] { return Gallery(options, *world, *keyboard).fnRun(); });
        code = done ? 0 : kExitFailed;
    } catch (const Aborted&) {
        std::puts("Stopped.");
        code = kExitAborted;
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
