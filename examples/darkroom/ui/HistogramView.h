#pragma once

#include "q32Base/operations/Histogram.h"

#include <QWidget>

namespace darkroom {

class Document;

/// Shows how often each brightness occurs in the selection, or in all of the picture. Counts that
/// unless it has been counted before, with progress.
class HistogramView : public QWidget {
    Q_OBJECT

public:
    explicit HistogramView(Document& document, QWidget* parent = nullptr);

    const CqHistogram& fnGetHistogram() const { return m_Histogram; }
    QSize sizeHint() const override { return {256, 80}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void fnPaintBars(QPainter& painter, const QRectF& place, const QColor& ink) const;

private:
    CqHistogram m_Histogram;
};

} // namespace darkroom
