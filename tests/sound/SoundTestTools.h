#pragma once

#include "q32Base/sound/CqWave.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace q32::test {

using Bytes = std::vector<unsigned char>;

inline Bytes fnBytes(const CqWave& wave) {
    return {wave.fnGetBuffer(), wave.fnGetBuffer() + wave.fnGetBufferSize()};
}

/// Bytes that identify their position.
inline Bytes fnRamp(std::size_t count, unsigned char first = 1) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(first + i * 7);
    return bytes;
}

/// A wave resource in the fixed layout; the fields that aren't read hold garbage.
inline std::string fnMakeResource(const WAVEFORMATEX& format, std::uint32_t size,
                                  const Bytes& samples) {
    std::string image(44, '?');
    std::memcpy(&image[8], "WAVE", 4);
    std::memcpy(&image[20], &format, 16);
    std::memcpy(&image[40], &size, 4);
    image.append(samples.begin(), samples.end());
    return image;
}

} // namespace q32::test

/// A test of a sound that can be played, with a headless device.
class WaveTest : public AttachedTest {
protected:
    using Bytes = q32::test::Bytes;

    static void fnFill(CqWave& wave, Bytes bytes) {
        ASSERT_NE(wave.fnGetFormat().nBlockAlign, 0);
        const std::size_t frames = bytes.size() / wave.fnGetFormat().nBlockAlign;
        wave.fnFillBuffer(bytes.data(), static_cast<unsigned long>(frames));
    }

    void fnAddResource(WORD id, const std::string& image) {
        CqHeadlessResources& resources = *m_World->m_pResources;
        ASSERT_TRUE(resources.fnAdd(resources.fnGetHostModule(), "WAVE", id, image));
    }

    CqHeadlessWaveOut& fnDevice() { return *m_World->m_pWaveOut; }
};
