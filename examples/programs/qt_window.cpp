// Shows a picture in a window, to be scrolled and zoomed: qt_window <picture> [<file for a shot>]
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/qt.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <QApplication>
#include <QMainWindow>

int main(int count, char** arguments) {
    if (count < 2)
        return std::fputs("qt_window <picture> [<file for a shot>]\n", stderr), 1;
    QApplication app(count, arguments);
    if (!q32QtCanPaint())
        return 1;
    return q32RunHost(q32QtPlatform(q32QtWindows()), [&] {
        q32SetMemoryLimit(); // half of the memory; what is larger goes to the scratch disk
        CqImage image;
        if (!q32ShowPictureResult(q32ReadPicture(arguments[1], image))) // shows a message box
            return 1;
        QMainWindow window; // behind the image: it must be gone first
        auto* const view = new CqImageView(&window);
        view->fnSetImage(&image);
        window.setCentralWidget(view);
        window.setWindowTitle(arguments[1]);
        window.resize(800, 600);
        window.show();
        if (count > 2)
            return window.grab().save(arguments[2]) ? 0 : 1;
        return app.exec();
    });
}
