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
    const auto& counts = m_Histogram.m_nLuminance;
    const auto most = static_cast<double>(*std::max_element(std::begin(counts), std::end(counts)));
    const double step = width() / 256.0;
    for (int i = 0; most > 0 && i < 256; ++i) {
        // The square root lets rare values be seen.
        const double share = std::sqrt(static_cast<double>(counts[i]) / most);
        painter.fillRect(QRectF(i * step, height() * (1 - share), step, height() * share),
                         palette().color(QPalette::Text));
    }
}

} // namespace darkroom
