#pragma once

#include <QLabel>
#include <QSize>

class QPushButton;

namespace darkroom {

/// Tells what the pixels of a picture take, and lets nobody ask for one that can't be: the button
/// is off meanwhile.
class SizeLabel : public QLabel {
    Q_OBJECT

public:
    /// @param ok  not owned; outlives what is told here
    explicit SizeLabel(QPushButton& ok, QWidget* parent = nullptr);

    void fnTell(const QSize& size, unsigned int bits);

private:
    QPushButton& m_Ok;
};

} // namespace darkroom
