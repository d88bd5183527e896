// swscale, one thread.

#include "Picture.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <cstring>

namespace {

void fnScale(benchmark::State& state, AVPixelFormat from, int fromBytes, AVPixelFormat to,
             int toBytes) {
    const auto source = fnPicture(fromBytes);
    auto target = fnPicture(toBytes);
    std::uint32_t palette[256];
    for (std::uint32_t i = 0; i < 256; ++i)
        palette[i] = 0xFF000000u | i * 0x010203u;
    SwsContext* context = sws_getContext(kWidth, kHeight, from, kWidth, kHeight, to, SWS_POINT,
                                         nullptr, nullptr, nullptr);
    const std::uint8_t* in[4] = {source.data(), from == AV_PIX_FMT_PAL8
                                                    ? reinterpret_cast<const std::uint8_t*>(palette)
                                                    : nullptr};
    const int inStride[4] = {kWidth * fromBytes};
    std::uint8_t* out[4] = {target.data()};
    const int outStride[4] = {kWidth * toBytes};
    for (auto _ : state) {
        sws_scale(context, in, inStride, 0, kHeight, out, outStride);
        benchmark::ClobberMemory();
    }
    sws_freeContext(context);
    fnReport(state);
}

BENCHMARK_CAPTURE(fnScale, Pal8ToRgb24_fnConvert_8_24, AV_PIX_FMT_PAL8, 1, AV_PIX_FMT_RGB24, 3);
BENCHMARK_CAPTURE(fnScale, Rgb565ToRgb24_fnConvert_16_24, AV_PIX_FMT_RGB565BE, 2, AV_PIX_FMT_RGB24,
                  3);
BENCHMARK_CAPTURE(fnScale, Rgb24ToArgb_fnConvert_24_32, AV_PIX_FMT_RGB24, 3, AV_PIX_FMT_ARGB, 4);

} // namespace

BENCHMARK_MAIN();
