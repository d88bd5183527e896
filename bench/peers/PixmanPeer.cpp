// pixman, one thread.

#include "Picture.h"

#include <pixman.h>

namespace {

/// Saturating sums of masks. Argument 0: the height; one row stays in the cache.
void fnAddMasks(benchmark::State& state) {
    constexpr int kRow = 8192;
    const auto height = static_cast<int>(state.range(0));
    std::vector<std::uint32_t> own(std::size_t{kRow} / 4 * static_cast<std::size_t>(height), 1);
    std::vector<std::uint32_t> other(own.size(), 3);
    pixman_image_t* target = pixman_image_create_bits(PIXMAN_a8, kRow, height, own.data(), kRow);
    pixman_image_t* source = pixman_image_create_bits(PIXMAN_a8, kRow, height, other.data(), kRow);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_ADD, source, nullptr, target, 0, 0, 0, 0, 0, 0, kRow,
                                 height);
        benchmark::ClobberMemory();
    }
    pixman_image_unref(source);
    pixman_image_unref(target);
    state.SetItemsProcessed(state.iterations() * std::int64_t{kRow} * height);
}

BENCHMARK(fnAddMasks)->Name("add masks, for CqMask")->ArgName("rows")->Arg(1)->Arg(1465);

} // namespace

BENCHMARK_MAIN();
