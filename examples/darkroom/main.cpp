// An editor for pictures larger than memory.
#include "examples/darkroom/model/MemoryShare.h"
#include "examples/darkroom/ui/German.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "platforms/posix/posix.h"
#include "platforms/qt/qt.h"
#include "q32Base/module/Module.h"
#ifdef DARKROOM_PULSE
#include "platforms/pulse/pulse.h"
#endif
#ifdef DARKROOM_WEB_FORMATS
#include "plugins/WebFormats.h"
#endif

#include <clocale>
#include <cstdio>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QSettings>
#include <QStandardPaths>
#include <string>
#include <vector>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

/// The entry in the desktop's menu and the icon of that name, if they are installed.
constexpr char kDesktopFile[] = "q32base.examples.darkroom";

constexpr char kUsage[] = "usage: darkroom [picture]\n"
                          "\n"
                          "Opens a PNG, JPEG, TIFF, BMP, WebP or GIF picture of any size.\n";

/// Deletes the scratch files left behind by a run that was killed.
void fnSweepScratch() {
    std::vector<std::string> folders;
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        folders.emplace_back(static_cast<const char*>(q32GetVMPolicy()->fnGetDisk(i)));
    q32PosixSweepScratchFiles(folders);
}

int fnRun(QApplication& application, CqQtWindows& windows, const darkroom::HostSetup& setup,
          const QString& picture) {
    darkroom::MainWindow window(setup);
    CqQtWnd frame(&window);
    windows.fnSetMainWnd(&frame);
    window.show();
    window.fnStart(picture);
    const int code = application.exec();
    windows.fnSetMainWnd(nullptr);
    return code;
}

} // namespace

int main(int count, char** arguments) {
    QApplication application(count, arguments);
    QApplication::setApplicationName("darkroom");
    QApplication::setDesktopFileName(kDesktopFile);
    QApplication::setWindowIcon(QIcon::fromTheme(kDesktopFile));
    std::setlocale(LC_NUMERIC, "C"); // the application adopted the user's locale; dumps have
                                     // decimal points
    const QStringList words = QApplication::arguments();
    const bool help = words.contains("--help");
    // A picture of such a name is ./-name.
    if (help || words.size() > 2 || words.value(1).startsWith('-')) {
        std::fputs(kUsage, help ? stdout : stderr);
        return help ? 0 : kExitUsage;
    }
    if (!q32QtCanPaint()) {
        std::fputs("darkroom: the screen has too few colors; it needs 15 bits a pixel\n", stderr);
        return kExitFailed;
    }
    darkroom::HostSetup setup;
    setup.m_strSettings =
        QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
            .filePath("q32Base/darkroom.ini");
    darkroom::fnSetLanguage(application, QSettings(setup.m_strSettings, QSettings::IniFormat)
                                             .value(darkroom::kLanguageKey)
                                             .toString());
#ifdef DARKROOM_WEB_FORMATS
    q32AddWebFormats();
#endif
    const auto windows = q32QtWindows();
    CqQtApp app("Darkroom");
    windows->fnSetApp(&app);
    CqQtOptions options;
    options.m_Posix.m_bGuardViews = true; // a picture may lose pixels, but not the program
    CqPlatform platform = q32QtPlatform(windows, options);
#ifdef DARKROOM_PULSE
    const CqPulse sound = q32Pulse({.m_szApplication = "Darkroom"});
    platform.m_pWaveOut = sound.m_pWaveOut;
    platform.m_pMixers = sound.m_pOwnMixers;
    setup.m_nMixerDescriptor = sound.m_pOwnMixers->fnGetDescriptor();
    setup.m_PumpMixers = [&sound] { sound.m_pOwnMixers->fnPump(); };
#endif
    if (!q32Attach(platform))
        return kExitFailed;
    darkroom::fnApplyMemoryShare();
    fnSweepScratch();
    const int code = fnRun(application, *windows, setup, words.value(1));
    q32Detach();
    return code;
}
