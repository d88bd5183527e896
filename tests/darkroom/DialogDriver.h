/// @file Operates the dialogs of a test in place of a user.
#pragma once

#include <chrono>
#include <functional>
#include <QDialog>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

/// Operates dialogs as they open and makes sure that none blocks the test: one left open by its
/// handler, and one without a handler, fail the test and are closed.
class DialogDriver : public QObject {
public:
    /// @param patience  how long a dialog without a handler may stay open
    explicit DialogDriver(std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// Operates the next dialog that opens and isn't already being operated.
    void fnUse(std::function<void(QDialog&)> use);
    /// Handlers for which no dialog opened are failures, and are dropped.
    void fnEnd();

private:
    void fnWatch();

    const std::chrono::milliseconds m_Patience;
    QObject m_Uses; ///< parent of a timer for each waiting handler
    QTimer m_Watch;
    QPointer<QWidget> m_pStanding; ///< the modal window seen last
    QElapsedTimer m_Since;
};
