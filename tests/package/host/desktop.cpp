// Links the desktop back end as a host does: a picture in a view, without a display.
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/qt.h"
#include "q32Base/q32Base.h"

#include <QApplication>

int main(int argc, char** argv) {
    const QApplication app(argc, argv);
    if (!q32QtCanPaint() || !q32Attach(q32QtPlatform(q32QtWindows())))
        return 1;
    bool shown = false;
    {
        CqImage image(64, 64, 24, nullptr, 0);
        image.fnFill(CqColor(10, 200, 30, 255), nullptr, false);
        CqImageView view;
        view.resize(64, 64);
        view.fnSetImage(&image);
        shown = view.grab().toImage().pixel(32, 32) == qRgb(10, 200, 30);
    }
    q32Detach();
    return shown ? 0 : 1;
}
