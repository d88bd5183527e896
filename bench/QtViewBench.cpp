// A view of 1600 x 1000 pixels on a picture of 20,000 x 15,000 at 24 bits: the time of a repaint
// once the picture's pixels are in memory, either RAM or a scratch file's mapping. "Whole" redraws
// everything visible, as after a change to the picture; "again" does so once the reduced copies
// used for small zooms exist; "pan" moves the picture by 40 screen pixels across and down, as when
// dragging it, and draws what becomes visible. The zoom is in thousandths.
#include "bench/OperationBench.h"
#include "platforms/qt/CqImageView.h"
#include "platforms/qt/qt.h"

#include <memory>
#include <QApplication>
#include <QScrollBar>
#include <QWindow>

namespace {

constexpr std::uint32_t kWidth = 20000;
constexpr std::uint32_t kHeight = 15000;

/// One picture for all cases of the same kind of storage.
CqImage& fnPicture(bool ram) {
    static std::unique_ptr<CqImage> picture;
    static bool inRam = false;
    if (!picture || inRam != ram) {
        picture.reset();
        q32GetVMPolicy()->fnSetRamLimit(ram ? 0xFFFFFFFFu : 0u);
        picture = std::make_unique<CqImage>(kWidth, kHeight, 24, nullptr, 0);
        inRam = ram;
        q32::bench::fnPaint(*picture);
    }
    return *picture;
}

class Stage {
public:
    explicit Stage(const benchmark::State& state) {
        m_View.setFrameShape(QFrame::NoFrame);
        m_View.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_View.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_View.resize(1600, 1000);
        m_View.fnSetImage(&fnPicture(state.range(1) != 0));
        m_View.show();
        while (!m_View.windowHandle()->isExposed()) // nothing paints before the window is exposed
            QCoreApplication::processEvents();
        m_View.fnSetZoom(static_cast<double>(state.range(0)) / 1000);
        m_View.fnCenterOn(QPointF(kWidth / 2.0, kHeight / 2.0));
        m_View.viewport()->repaint();
    }
    ~Stage() { m_View.fnSetImage(nullptr); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    CqImageView m_View;
};

void BM_Whole(benchmark::State& state) {
    Stage stage(state);
    for (auto _ : state) {
        stage.m_View.fnImageChanged();
        stage.m_View.viewport()->repaint();
    }
}

void BM_Again(benchmark::State& state) {
    Stage stage(state);
    do
        QCoreApplication::processEvents();
    while (stage.m_View.fnIsRefining());
    const double zoom = stage.m_View.fnGetZoom();
    bool other = false;
    for (auto _ : state) {
        other = !other;
        stage.m_View.fnSetZoom(other ? zoom * 0.999 : zoom);
        stage.m_View.viewport()->repaint();
    }
}

void BM_Pan(benchmark::State& state) {
    Stage stage(state);
    QScrollBar& across = *stage.m_View.horizontalScrollBar();
    QScrollBar& down = *stage.m_View.verticalScrollBar();
    int step = 40;
    for (auto _ : state) {
        if (down.value() + step < down.minimum() || down.value() + step > down.maximum())
            step = -step;
        across.setValue(across.value() + step);
        down.setValue(down.value() + step);
        stage.m_View.viewport()->repaint();
    }
}

void fnZooms(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"zoom", "ram"})
        ->ArgsProduct({{63, 125, 250, 500, 1000, 1500, 2000, 4000}, {1, 0}})
        ->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Whole)->Apply(fnZooms);
BENCHMARK(BM_Again)->Apply(fnZooms);
BENCHMARK(BM_Pan)->Apply(fnZooms);

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (!q32Attach(q32QtPlatform(q32QtWindows())))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
