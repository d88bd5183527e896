// Qt, one thread.

#include "Picture.h"

#include <QImage>
#include <QPainter>

namespace {

void fnConvertFormat(benchmark::State& state, QImage::Format from, QImage::Format to, int bytes) {
    const auto pixels = fnPicture(bytes);
    const QImage source(pixels.data(), kWidth, kHeight, qsizetype{kWidth} * bytes, from);
    for (auto _ : state) {
        const QImage target = source.convertToFormat(to);
        benchmark::DoNotOptimize(target.constBits());
    }
    fnReport(state);
}

/// Source over with alpha, both at 32 bits.
void fnSourceOver(benchmark::State& state) {
    QImage target(kWidth, kHeight, QImage::Format_RGB32);
    target.fill(0xFF102030);
    const auto pixels = fnPicture(4);
    const QImage source = QImage(pixels.data(), kWidth, kHeight, QImage::Format_ARGB32)
                              .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        QPainter(&target).drawImage(0, 0, source);
        benchmark::ClobberMemory();
    }
    fnReport(state);
}

BENCHMARK(fnSourceOver)->Name("source over at 32 bits, for fnMerge");
BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToRgb32_fnDraw_24_to_32_bits, QImage::Format_RGB888,
                  QImage::Format_RGB32, 3);
BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToIndexed8_fnDraw_24_to_8_bits, QImage::Format_RGB888,
                  QImage::Format_Indexed8, 3);

} // namespace

BENCHMARK_MAIN();
