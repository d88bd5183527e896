#include "examples/darkroom/ui/CurveView.h"

#include "q32Base/framework/Memory.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPolygonF>

namespace darkroom {

namespace {

constexpr int kLastTone = 255;
constexpr double kMargin = 8;    ///< so that points at the ends can be seen and grabbed
constexpr double kGrabReach = 8; ///< how far from a point a press still grabs it
constexpr double kDot = 4;
constexpr int kLargeStep = 10;

QColor fnGetInk(CurveChannel channel, const QPalette& palette) {
    switch (channel) {
    case CURVE_RED:
        return {220, 40, 40};
    case CURVE_GREEN:
        return {20, 150, 40};
    case CURVE_BLUE:
        return {50, 90, 240};
    case CURVE_ALL:
        break;
    }
    return palette.color(QPalette::Text);
}

} // namespace

CurveView::CurveView(Document& document, QWidget* parent) : HistogramView(document, parent) {
    setMinimumSize(CurveView::sizeHint());
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Curve"));
    setToolTip(tr("Click to add a point, drag it, remove it with the right button.\n"
                  "Keys: arrows move it, Page Up and Page Down select another one,\n"
                  "Insert adds one, Delete removes it."));
    fnSetValues(fnMakeStraightCurves());
}

std::vector<int> CurveView::fnGetValues() const {
    std::vector<int> values;
    for (const Points& points : m_Curves)
        std::transform(points.begin(), points.end(), std::back_inserter(values), fnPackPoint);
    return values;
}

void CurveView::fnSetValues(const std::vector<int>& values) {
    for (Points& points : m_Curves)
        points.clear();
    for (const int value : values) {
        const CurvePoint point = fnUnpackPoint(value);
        m_Curves[static_cast<std::size_t>(point.m_nChannel)].push_back(point);
    }
    for (Points& points : m_Curves)
        std::sort(points.begin(), points.end(),
                  [](const CurvePoint& a, const CurvePoint& b) { return a.m_nX < b.m_nX; });
    fnSelect(0);
}

void CurveView::fnShowChannel(CurveChannel channel) {
    m_eChannel = channel;
    fnSelect(0);
}

void CurveView::fnTell() {
    update();
    Q_EMIT changed();
}

void CurveView::fnSelect(std::size_t index) {
    m_nSelected = index;
    fnTell();
}

void CurveView::fnMovePoint(int x, int y) {
    Points& points = fnPoints();
    const int low = m_nSelected == 0 ? 0 : points[m_nSelected - 1].m_nX + 1;
    const int high =
        m_nSelected + 1 == points.size() ? kLastTone : points[m_nSelected + 1].m_nX - 1;
    points[m_nSelected].m_nX = std::clamp(x, low, high);
    points[m_nSelected].m_nY = std::clamp(y, 0, kLastTone);
    fnTell();
}

void CurveView::fnAdd(const CurvePoint& point) {
    Points& points = fnPoints();
    const auto at =
        std::lower_bound(points.begin(), points.end(), point,
                         [](const CurvePoint& a, const CurvePoint& b) { return a.m_nX < b.m_nX; });
    const auto index = static_cast<std::size_t>(at - points.begin());
    const bool is = at != points.end() && at->m_nX == point.m_nX;
    if (is || q32::fnTryMemory([&] { points.insert(at, point); }))
        fnSelect(index);
}

/// In the middle of the gap after the selected point, or before the last one, on the curve.
void CurveView::fnAddBeside() {
    const Points& points = fnPoints();
    const std::size_t left = std::min(m_nSelected, points.size() - 2);
    const int x = (points[left].m_nX + points[left + 1].m_nX) / 2;
    q32::fnTryMemory([&] {
        fnAdd({m_eChannel, x, static_cast<int>(std::lround(FreeCurve(points).fnAt(x)))});
    });
}

void CurveView::fnRemove() {
    Points& points = fnPoints();
    if (points.size() <= 2)
        return;
    points.erase(points.begin() + static_cast<std::ptrdiff_t>(m_nSelected));
    fnSelect(std::min(m_nSelected, points.size() - 1));
}

QPointF CurveView::fnGetPlace(const CurvePoint& point) const {
    return {kMargin + (width() - 2 * kMargin) * point.m_nX / kLastTone,
            height() - kMargin - (height() - 2 * kMargin) * point.m_nY / kLastTone};
}

CurvePoint CurveView::fnFindTone(const QPointF& place) const {
    const auto tone = [](double part) {
        return static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * kLastTone));
    };
    return {m_eChannel, tone((place.x() - kMargin) / (width() - 2 * kMargin)),
            tone((height() - kMargin - place.y()) / (height() - 2 * kMargin))};
}

bool CurveView::fnGrab(const QPointF& place) {
    const Points& points = fnPoints();
    const auto distance = [&](const CurvePoint& point) {
        const QPointF between = fnGetPlace(point) - place;
        return std::hypot(between.x(), between.y());
    };
    const auto nearest = std::min_element(
        points.begin(), points.end(),
        [&](const CurvePoint& a, const CurvePoint& b) { return distance(a) < distance(b); });
    if (distance(*nearest) > kGrabReach)
        return false;
    fnSelect(static_cast<std::size_t>(nearest - points.begin()));
    return true;
}

void CurveView::mousePressEvent(QMouseEvent* event) {
    const bool grabbed = fnGrab(event->position());
    if (event->button() == Qt::RightButton && grabbed)
        fnRemove();
    if (event->button() != Qt::LeftButton)
        return;
    if (!grabbed)
        fnAdd(fnFindTone(event->position()));
    m_bDragging = true;
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
    if (!m_bDragging)
        return;
    const CurvePoint tone = fnFindTone(event->position());
    fnMovePoint(tone.m_nX, tone.m_nY);
}

void CurveView::mouseReleaseEvent(QMouseEvent*) {
    m_bDragging = false;
}

void CurveView::keyPressEvent(QKeyEvent* event) {
    const int step = event->modifiers() & Qt::ShiftModifier ? kLargeStep : 1;
    const CurvePoint point = fnGetPoint();
    const std::size_t last = fnPoints().size() - 1;
    switch (event->key()) {
    case Qt::Key_Left:
        return fnMovePoint(point.m_nX - step, point.m_nY);
    case Qt::Key_Right:
        return fnMovePoint(point.m_nX + step, point.m_nY);
    case Qt::Key_Up:
        return fnMovePoint(point.m_nX, point.m_nY + step);
    case Qt::Key_Down:
        return fnMovePoint(point.m_nX, point.m_nY - step);
    case Qt::Key_PageUp:
        return fnSelect(m_nSelected == 0 ? 0 : m_nSelected - 1);
    case Qt::Key_PageDown:
        return fnSelect(std::min(m_nSelected + 1, last));
    case Qt::Key_Home:
        return fnSelect(0);
    case Qt::Key_End:
        return fnSelect(last);
    case Qt::Key_Insert:
        return fnAddBeside();
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        return fnRemove();
    default:
        HistogramView::keyPressEvent(event);
    }
}

void CurveView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    QColor bars = palette().color(QPalette::Text);
    bars.setAlphaF(0.25F); // so that the curve stands out
    fnPaintBars(painter, QRectF(fnGetPlace({0, 0, kLastTone}), fnGetPlace({0, kLastTone, 0})),
                bars);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = fnGetInk(m_eChannel, palette());
    QColor grid = palette().color(QPalette::Text);
    grid.setAlphaF(0.2F);
    painter.setPen(grid);
    constexpr int kCells = 4;
    for (int i = 0; i <= kCells; ++i) {
        const int tone = kLastTone * i / kCells;
        painter.drawLine(fnGetPlace({0, tone, 0}), fnGetPlace({0, tone, kLastTone}));
        painter.drawLine(fnGetPlace({0, 0, tone}), fnGetPlace({0, kLastTone, tone}));
    }
    painter.setPen(QPen(ink, 2));
    q32::fnTryMemory([&] {
        const FreeCurve curve(fnPoints());
        const QPointF low = fnGetPlace({0, 0, 0});
        const QPointF size = fnGetPlace({0, kLastTone, kLastTone}) - low;
        QPolygonF line;
        for (int x = 0; x <= kLastTone; ++x)
            line << low + QPointF(size.x() * x / kLastTone, size.y() * curve.fnAt(x) / kLastTone);
        painter.drawPolyline(line);
    });
    for (std::size_t i = 0; i < fnPoints().size(); ++i) {
        const bool selected = i == m_nSelected;
        painter.setBrush(selected ? palette().color(QPalette::Highlight)
                                  : palette().color(QPalette::Base));
        painter.drawEllipse(fnGetPlace(fnPoints()[i]), kDot, kDot);
        if (selected && hasFocus()) {
            painter.setBrush(Qt::NoBrush);
            painter.drawEllipse(fnGetPlace(fnPoints()[i]), kDot + 3, kDot + 3);
        }
    }
}

} // namespace darkroom
