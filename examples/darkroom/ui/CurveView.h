#pragma once

#include "examples/darkroom/model/FreeCurve.h"
#include "examples/darkroom/ui/HistogramView.h"

#include <array>
#include <cstddef>
#include <vector>

namespace darkroom {

/// Shows tone curves over the histogram, and lets the user set their points. One point of the shown
/// channel is selected.
///
/// Mouse: a press adds a point, or selects one to be dragged; the right button removes it.
/// Keyboard: arrows move the selected point, by 10 with Shift; Page Up, Page Down, Home and End
/// select others; Insert adds one in the gap beside it; Delete removes it. A curve keeps two
/// points.
class CurveView : public HistogramView {
    Q_OBJECT

public:
    explicit CurveView(Document& document, QWidget* parent = nullptr);

    /// The points of all channels, packed.
    std::vector<int> fnGetValues() const;
    /// @param values  at least two points of each channel
    void fnSetValues(const std::vector<int>& values);
    void fnShowChannel(CurveChannel channel);

    const CurvePoint& fnGetPoint() const { return fnPoints()[m_nSelected]; }
    /// Moves the selected point, as far as its neighbours allow.
    void fnMovePoint(int x, int y);

    QSize sizeHint() const override { return {272, 272}; }
    /// The place of a point in the widget.
    QPointF fnGetPlace(const CurvePoint& point) const;

Q_SIGNALS:
    /// The curve is another one, or another point is selected.
    void changed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    using Points = std::vector<CurvePoint>; ///< in the order of x

    Points& fnPoints() { return m_Curves[static_cast<std::size_t>(m_eChannel)]; }
    const Points& fnPoints() const { return m_Curves[static_cast<std::size_t>(m_eChannel)]; }
    CurvePoint fnFindTone(const QPointF& place) const;
    /// Selects the point at a place; false if there is none.
    bool fnGrab(const QPointF& place);
    void fnAdd(const CurvePoint& point);
    void fnAddBeside();
    void fnRemove();
    void fnSelect(std::size_t index);
    void fnTell();

    std::array<Points, kCurveChannels> m_Curves;
    CurveChannel m_eChannel = CURVE_ALL;
    std::size_t m_nSelected = 0;
    bool m_bDragging = false;
};

} // namespace darkroom
