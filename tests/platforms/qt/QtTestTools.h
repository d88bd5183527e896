/// @file
/// What the tests of the desktop back end share.
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

/// Lets events happen until a condition holds; false if it doesn't within ten seconds.
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

/// Shows a window and waits until it stands.
inline bool fnShow(QWidget& window) {
    window.show();
    return fnWaitFor([&] { return window.isVisible() && window.windowHandle()->isExposed(); });
}

/// Does something with light colours and with dark ones; the name is to tell pictures apart.
inline void fnInBothPalettes(const std::function<void(const QString&)>& work) {
    const QPalette before = QApplication::palette();
    for (const bool dark : {false, true}) {
        const QColor ground = dark ? QColor(45, 45, 48) : QColor(239, 239, 239);
        QApplication::setPalette(QPalette(ground, ground));
        QCoreApplication::processEvents(); // windows that stand learn it by an event
        work(dark ? "-dark" : "-light");
    }
    QApplication::setPalette(before);
}

/// Keeps a picture of a window among the build's products, for people to look at.
inline void fnKeepPicture(QWidget& window, const QString& name) {
    const char* folder = std::getenv("Q32_TEST_PICTURES");
    if (!folder)
        return;
    QDir().mkpath(folder);
    window.grab().toImage().save(QString(folder) + '/' + name + '-' +
                                 qEnvironmentVariable("QT_QPA_PLATFORM") + '-' +
                                 qEnvironmentVariable("QT_SCALE_FACTOR") + "x.png");
}
