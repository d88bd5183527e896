#pragma once

#include <QLabel>
#include <QSize>

class QPushButton;

namespace darkroom {

/// Shows the bytes that a picture takes, and disables OK while the picture is impossible.
class SizeLabel : public QLabel {
    Q_OBJECT

public:
    /// @param ok  not owned; must outlive any update of this label
    explicit SizeLabel(QPushButton& ok, QWidget* parent = nullptr);

    void fnShow(const QSize& size, unsigned int bits);

private:
    QPushButton& m_Ok;
};

} // namespace darkroom
