/// @file Shared by the tests of the desktop back end.
#pragma once

#include <cstdlib>
#include <functional>
#include <QApplication>
#include <QColor>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QPalette>
#include <QString>
#include <QWidget>
#include <QWindow>

/// Processes events until a condition holds; false if it doesn't within ten seconds.
inline bool fnWaitFor(const std::function<bool()>& condition) {
    constexpr int kPatience = 10000;
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > kPatience)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

/// Shows a window and waits until it is exposed.
inline bool fnShow(QWidget& window) {
    window.show();
    return fnWaitFor([&] { return window.isVisible() && window.windowHandle()->isExposed(); });
}

/// Runs `work` with light and with dark colours; its argument names the pictures.
inline void fnInBothPalettes(const std::function<void(const QString&)>& work) {
    const QPalette before = QApplication::palette();
    for (const bool dark : {false, true}) {
        const QColor ground = dark ? QColor(45, 45, 48) : QColor(239, 239, 239);
        QApplication::setPalette(QPalette(ground, ground));
        QCoreApplication::processEvents(); // open windows are notified by an event
        work(dark ? "-dark" : "-light");
    }
    QApplication::setPalette(before);
}

/// Saves a picture of a window with the build's products, for visual inspection.
inline void fnKeepPicture(QWidget& window, const QString& name) {
    const char* folder = std::getenv("Q32_TEST_PICTURES");
    if (!folder)
        return;
    QDir().mkpath(folder);
    window.grab().toImage().save(QString(folder) + '/' + name + '-' +
                                 qEnvironmentVariable("QT_QPA_PLATFORM") + '-' +
                                 qEnvironmentVariable("QT_SCALE_FACTOR") + "x.png");
}
