/// @file
/// A person at a test's dialogs.
#pragma once

#include <chrono>
#include <functional>
#include <QDialog>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

/// Uses the dialogs of a test as they come, and sees to it that none keeps the test waiting: one
/// that is left open by its use, and one that nobody uses, are failures of the test and are closed.
class DialogDriver : public QObject {
public:
    /// @param patience  how long a dialog that nobody uses may stand
    explicit DialogDriver(std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// Uses the dialog that opens next, and that isn't in use already.
    void fnUse(std::function<void(QDialog&)> use);
    /// A use that no dialog has come for is a failure, and is forgotten.
    void fnEnd();

private:
    void fnWatch();

    const std::chrono::milliseconds m_Patience;
    QObject m_Uses; ///< parent of a timer for each one that waits
    QTimer m_Watch;
    QPointer<QWidget> m_pStanding; ///< the modal window that was seen last
    QElapsedTimer m_Since;
};
