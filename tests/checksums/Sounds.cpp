#include "platforms/headless/headless.h"
#include "plugins/WaveFile.h"
#include "q32Base/sound/CqWave.h"
#include "tests/checksums/Checksum.h"

#include <bit>
#include <cstdint>
#include <string>

namespace {

constexpr char kSoundPath[] = "C:\\Temp\\sound.wav";
constexpr std::uint32_t kFrames = 500;

/// Little-endian.
std::string fnLow(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}

std::string fnMakeSample(std::uint32_t tag, std::uint32_t bits, Random& random) {
    constexpr std::uint32_t kFloat = 3;
    if (tag != kFloat)
        return fnLow(random(), static_cast<int>(bits / 8));
    // From -1.2 to 1.2: some are beyond the range.
    const double value = (random() / 4294967296.0 - 0.5) * 2.4;
    if (bits == 32)
        return fnLow(std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4);
    const auto whole = std::bit_cast<std::uint64_t>(value);
    return fnLow(static_cast<std::uint32_t>(whole), 4) +
           fnLow(static_cast<std::uint32_t>(whole >> 32), 4);
}

std::string fnMakeFile(std::uint32_t tag, std::uint32_t channels, std::uint32_t bits,
                       Random& random) {
    const std::uint32_t align = channels * bits / 8;
    std::string data;
    for (std::uint32_t i = 0; i < kFrames * channels; ++i)
        data += fnMakeSample(tag, bits, random);
    const std::string chunks = "WAVEfmt " + fnLow(16, 4) + fnLow(tag, 2) + fnLow(channels, 2) +
                               fnLow(8000, 4) + fnLow(8000 * align, 4) + fnLow(align, 2) +
                               fnLow(bits, 2) + "data" +
                               fnLow(static_cast<std::uint32_t>(data.size()), 4) + data;
    return "RIFF" + fnLow(static_cast<std::uint32_t>(chunks.size()), 4) + chunks;
}

void fnReadAndWrite(CqHeadlessWorld& world, const std::string& name) {
    CqWave wave;
    if (!q32ReadWave(kSoundPath, wave).fnIsDone()) {
        fnReport(name);
        return;
    }
    Checksum samples;
    const WAVEFORMATEX format = wave.fnGetFormat();
    samples.fnAdd(&format, sizeof format);
    samples.fnAdd(wave.fnGetBuffer(), wave.fnGetBufferSize());
    samples.fnPrint("read-" + name);
    if (!q32WriteWave(kSoundPath, wave).fnIsDone())
        fnReport(name);
    const std::string file = world.m_pDisks->fnGetFile(kSoundPath).value_or("");
    Checksum sum;
    sum.fnAdd(file.data(), file.size());
    sum.fnPrint("write-" + name);
}

} // namespace

void fnPrintSounds(CqHeadlessWorld& world) {
    struct Kind {
        std::uint32_t m_nTag;
        std::uint32_t m_nBits;
    };
    for (const Kind& kind :
         {Kind{1, 8}, Kind{1, 16}, Kind{1, 24}, Kind{1, 32}, Kind{3, 32}, Kind{3, 64}})
        for (const std::uint32_t channels : {1u, 2u, 5u}) {
            Random random(kind.m_nTag * 100 + kind.m_nBits);
            world.m_pDisks->fnPutFile(kSoundPath,
                                      fnMakeFile(kind.m_nTag, channels, kind.m_nBits, random));
            fnReadAndWrite(world, "wave/" + std::to_string(kind.m_nTag) + '/' +
                                      std::to_string(kind.m_nBits) + '/' +
                                      std::to_string(channels));
        }
}
