// Qt, one thread.

#include "Picture.h"

#include <QImage>

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

BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToRgb32_fnDraw_24_to_32_bits, QImage::Format_RGB888,
                  QImage::Format_RGB32, 3);
BENCHMARK_CAPTURE(fnConvertFormat, Rgb888ToIndexed8_fnDraw_24_to_8_bits, QImage::Format_RGB888,
                  QImage::Format_Indexed8, 3);

} // namespace

BENCHMARK_MAIN();
