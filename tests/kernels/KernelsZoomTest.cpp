#include "tests/kernels/KernelsTestTools.h"

namespace q32::test {
namespace {

class KernelsZoom : public KernelsAtEachLevel {
protected:
    // Source pixel x / factor is written factor - x % factor times, up to the end of the run.
    void fnCheckInflate(std::size_t bytes, std::size_t count, std::size_t factor, std::size_t phase,
                        std::size_t misalignment) {
        const std::size_t pixels = (phase + count + factor - 1) / factor;
        const Bytes content = fnRandomBytes(m_Random, count == 0 ? 0 : pixels * bytes);
        const SourceBytes source(content, misalignment);
        TargetBytes target(count * bytes, m_Random() % 32);
        m_Kernels.fnInflate[bytes - 1](source.fnGetData(), target.fnGetData(), count, factor,
                                       phase);
        Bytes expected;
        for (std::size_t x = phase; x < phase + count; ++x)
            for (std::size_t k = 0; k < bytes; ++k)
                expected.push_back(content[x / factor * bytes + k]);
        ASSERT_TRUE(target.fnHolds(expected)) << count << " pixels of " << bytes
                                              << " bytes, factor " << factor << ", phase " << phase;
    }

    void fnCheckShrink(std::size_t bytes, std::size_t count, std::size_t factor,
                       std::size_t misalignment) {
        const std::size_t pixels = count == 0 ? 0 : (count - 1) * factor + 1;
        const Bytes content = fnRandomBytes(m_Random, pixels * bytes);
        const SourceBytes source(content, misalignment);
        TargetBytes target(count * bytes, m_Random() % 32);
        m_Kernels.fnShrink[bytes - 1](source.fnGetData(), target.fnGetData(), count, factor);
        Bytes expected;
        for (std::size_t x = 0; x < count; ++x)
            for (std::size_t k = 0; k < bytes; ++k)
                expected.push_back(content[x * factor * bytes + k]);
        ASSERT_TRUE(target.fnHolds(expected))
            << count << " pixels of " << bytes << " bytes, factor " << factor;
    }

    void fnCheckSample(std::size_t bytes, std::size_t count, std::size_t at, std::size_t step,
                       std::size_t misalignment) {
        const std::size_t last = count == 0 ? 0 : (at + (count - 1) * step) >> 8;
        const Bytes content = fnRandomBytes(m_Random, count == 0 ? 0 : (last + 1) * bytes);
        const SourceBytes source(content, misalignment);
        TargetBytes target(count * bytes, m_Random() % 32);
        m_Kernels.fnSample[bytes - 1](source.fnGetData(), target.fnGetData(), count,
                                      static_cast<std::uint32_t>(at),
                                      static_cast<std::uint32_t>(step));
        Bytes expected;
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t k = 0; k < bytes; ++k)
                expected.push_back(content[((at + i * step) >> 8) * bytes + k]);
        ASSERT_TRUE(target.fnHolds(expected))
            << count << " pixels of " << bytes << " bytes from " << at << " in steps of " << step;
    }
};
Q32_AT_EACH_LEVEL(KernelsZoom);

TEST_P(KernelsZoom, RepeatsPixelsFromEveryPhaseAndStopsAtTheEnd) {
    for (std::size_t bytes = 1; bytes <= 4; ++bytes)
        for (std::size_t factor = 1; factor <= 20; ++factor)
            for (std::size_t phase = 0; phase < factor; ++phase)
                for (std::size_t count = 0; count <= 70; ++count)
                    fnCheckInflate(bytes, count, factor, phase, count % 4);
}

TEST_P(KernelsZoom, RepeatsPixelsOfLongRuns) {
    for (std::size_t bytes = 1; bytes <= 4; ++bytes)
        for (int i = 0; i < 60; ++i) {
            const std::size_t factor = 1 + m_Random() % 200;
            fnCheckInflate(bytes, m_Random() % 5000, factor, m_Random() % factor, m_Random() % 32);
        }
}

TEST_P(KernelsZoom, TakesEveryNthPixel) {
    for (std::size_t bytes = 1; bytes <= 4; ++bytes)
        for (std::size_t factor = 1; factor <= 20; ++factor)
            for (std::size_t count = 0; count <= 70; ++count)
                fnCheckShrink(bytes, count, factor, count % 4);
}

TEST_P(KernelsZoom, TakesEveryNthPixelOfLongRuns) {
    for (std::size_t bytes = 1; bytes <= 4; ++bytes)
        for (int i = 0; i < 30; ++i)
            fnCheckShrink(bytes, m_Random() % 2000, 1 + m_Random() % 50, m_Random() % 32);
}

TEST_P(KernelsZoom, SamplesInStepsOf256thsFromAnyPosition) {
    for (std::size_t bytes = 1; bytes <= 4; ++bytes) {
        for (std::size_t step = 0; step <= 260; ++step)
            for (std::size_t count = 0; count <= 40; ++count)
                fnCheckSample(bytes, count, m_Random() % 600, step, count % 4);
        for (int i = 0; i < 60; ++i)
            fnCheckSample(bytes, m_Random() % 5000, m_Random() % 1000, m_Random() % 1000,
                          m_Random() % 32);
    }
}

} // namespace
} // namespace q32::test
