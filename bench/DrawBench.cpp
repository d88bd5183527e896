// Draws a picture of 4000 x 3000 on a screen that only counts, compared with a copy of its bytes.

#include "platforms/headless/headless.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqTileMap_p.h"
#include "q32Base/module/Module.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;

/// Accepts rows without reading them.
class CountingScreen final : public CqScreenService {
public:
    explicit CountingScreen(std::shared_ptr<CqScreenService> inner) : m_pInner(std::move(inner)) {}

    CDC* fnGetDC(CWnd* window) override { return m_pInner->fnGetDC(window); }
    void fnReleaseDC(CWnd* window, CDC* dc) noexcept override { m_pInner->fnReleaseDC(window, dc); }
    int fnSetDIBitsToDevice(CDC*, int, int, UINT width, UINT height, int, int, UINT, UINT scans,
                            const void* bits, const BITMAPINFOHEADER*, UINT) override {
        benchmark::DoNotOptimize(bits);
        benchmark::ClobberMemory();
        m_nPixels += std::uint64_t{width} * height;
        return static_cast<int>(scans);
    }
    std::unique_ptr<CqPaletteObject> fnCreatePalette(const LOGPALETTE& palette) override {
        return m_pInner->fnCreatePalette(palette);
    }
    void fnPaletteGone(const CPalette& palette) noexcept override {
        m_pInner->fnPaletteGone(palette);
    }
    std::unique_ptr<CqRegionObject> fnCreateRectRegion(const RECT& rect) override {
        return m_pInner->fnCreateRectRegion(rect);
    }

    std::uint64_t m_nPixels = 0;

private:
    std::shared_ptr<CqScreenService> m_pInner;
};

/// The library on a counting screen, with pictures in RAM.
class Stage {
public:
    explicit Stage(int screenBits) {
        CqHeadlessOptions options;
        options.m_Mode.m_nWidth = kWidth; // so that nothing is clipped
        options.m_Mode.m_nHeight = kHeight;
        options.m_Mode.m_nBits = screenBits;
        m_pWorld = q32HeadlessWorld(options);
        CqPlatform platform = m_pWorld->fnPlatform();
        m_pScreen = std::make_shared<CountingScreen>(platform.m_pScreen);
        platform.m_pScreen = m_pScreen;
        q32Attach(platform);
        q32GetVMPolicy()->fnSetRamLimit(0xFFFFFFFFu);
        m_pDC = m_pScreen->fnGetDC(nullptr);
    }
    ~Stage() {
        m_pScreen->fnReleaseDC(nullptr, m_pDC);
        q32Detach();
    }

    std::shared_ptr<CqHeadlessWorld> m_pWorld;
    std::shared_ptr<CountingScreen> m_pScreen;
    CDC* m_pDC;
};

void fnFill(CqImage& image) {
    unsigned char* out = image.TileMap->PixelBuffer;
    std::uint32_t state = 1;
    for (std::uint32_t i = 0; i < image.TileMap->BufferSize; ++i) {
        state = state * 1664525 + 1013904223;
        out[i] = static_cast<unsigned char>(state >> 24);
    }
}

/// Arguments: screen depth, image depth, factor (negative: reduced), gamma.
void fnDraw(benchmark::State& state) {
    const Stage stage(static_cast<int>(state.range(0)));
    q32GetDisplayProperty()->fnSetGammaValue(static_cast<unsigned>(state.range(3)));
    {
        CqImage image(kWidth, kHeight, static_cast<unsigned>(state.range(1)), nullptr, 0);
        fnFill(image);
        const std::int64_t factor = state.range(2);
        const CRect view(0, 0, 0x7FFFFFFF, 0x7FFFFFFF);
        image.fnDrawInit(static_cast<unsigned>(factor < 0 ? -factor : factor), factor < 0, view,
                         CPoint(), nullptr);
        for (auto _ : state) {
            const bool drawn = image.fnDraw(stage.m_pDC, view, 0, 0, false, false);
            if (!drawn)
                state.SkipWithError("not drawn");
        }
    }
    state.counters["pixels"] = benchmark::Counter(static_cast<double>(stage.m_pScreen->m_nPixels),
                                                  benchmark::Counter::kIsRate);
}

/// The baseline: the bytes of a 24-bit picture copied into a block of the same size.
void fnCopy(benchmark::State& state) {
    const std::vector<unsigned char> source(std::size_t{kWidth} * kHeight * 3, 1);
    std::vector<unsigned char> target(source.size());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.counters["pixels"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight, benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(fnCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(fnDraw)
    ->ArgNames({"screen", "image", "factor", "gamma"})
    ->ArgsProduct({{8, 16, 24, 32}, {8, 16, 24, 32}, {1}, {180}})
    ->Args({32, 24, 1, 220})
    ->Args({24, 24, 1, 220})
    ->Args({32, 24, 2, 180})
    ->Args({32, 24, 3, 180})
    ->Args({32, 24, -2, 180})
    ->Args({32, 24, -3, 180})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
