#include "examples/darkroom/ui/HistogramView.h"

#include "examples/darkroom/model/Document.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <QPainter>

namespace darkroom {

HistogramView::HistogramView(Document& document, QWidget* parent) : QWidget(parent) {
    setMinimumSize(sizeHint());
    setAccessibleName(tr("Histogram"));
    if (document.fnGetHistogram() || document.fnCountHistogram(nullptr).fnIsDone())
        m_Histogram = *document.fnGetHistogram();
}

void HistogramView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    fnPaintBars(painter, rect(), palette().color(QPalette::Text));
}

void HistogramView::fnPaintBars(QPainter& painter, const QRectF& place, const QColor& ink) const {
    const auto& counts = m_Histogram.m_nLuminance;
    const auto most = static_cast<double>(*std::max_element(std::begin(counts), std::end(counts)));
    const double step = place.width() / 256;
    for (int i = 0; most > 0 && i < 256; ++i) {
        // The square root lets rare values be seen.
        const double share = std::sqrt(static_cast<double>(counts[i]) / most);
        painter.fillRect(QRectF(place.left() + i * step, place.top() + place.height() * (1 - share),
                                step, place.height() * share),
                         ink);
    }
}

} // namespace darkroom
