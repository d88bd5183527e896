/// @file Sounds: for any bytes, as a resource and as a file, loading ends with a sound or a
/// failure, and the sound can be drawn. An input that doesn't begin as a WAV file begins with a
/// host's limits for the file, which the sound then keeps. The headers alone declare what is read,
/// and what is written is read again.

#include "fuzz/FuzzInput.h"
#include "plugins/WaveFile.h"

#include <cstring>

namespace {

using namespace q32::fuzz;

constexpr char kPath[] = "C:\\Temp\\sound";
constexpr WORD kResource = 1;

void fnLook(const CqWave& wave, bool loaded) {
    fnCheck(loaded == (wave.fnGetBuffer() != nullptr), "a sound or a failure");
    const std::uint32_t frames = wave.fnGetFrameCount();
    CqImage image(37, 29, 8, nullptr, 0);
    wave.fnRasterize(image, 0, frames, false, false);
    wave.fnRasterize(image, frames / 2, frames, true, false);
}

/// What is known of a sound without its samples must be what was read with them.
void fnDescribe(const CqWave& wave, const CqWaveLimits& limits) {
    CqWaveFacts facts;
    const CqWaveFileResult result = q32DescribeWave(kPath, facts, limits);
    fnCheck(result.fnIsDone() == (facts.m_nFrames > 0), "facts or a message");
    if (!wave.fnGetBuffer())
        return;
    fnCheck(result.fnIsDone(), "what can be read can be described");
    fnCheck(facts.m_nFrames == wave.fnGetFrameCount() &&
                facts.m_Format.nChannels == wave.fnGetFormat().nChannels &&
                facts.m_Format.wBitsPerSample == wave.fnGetFormat().wBitsPerSample,
            "as it is read");
}

void fnWriteBack(const CqWave& wave) {
    if (!q32WriteWave(kPath, wave).fnIsDone())
        return; // loaded from a resource in a format that no file takes
    CqWave again;
    const CqWaveFileResult result = q32ReadWave(kPath, again);
    if (result.m_nMsgId == -1)
        return; // the other sounds are still there
    fnCheck(result.fnIsDone(), "what was written can be read");
    const std::size_t bytes = std::size_t{wave.fnGetFrameCount()} * wave.fnGetFormat().nBlockAlign;
    fnCheck(again.fnGetFrameCount() == wave.fnGetFrameCount() &&
                std::memcmp(again.fnGetBuffer(), wave.fnGetBuffer(), bytes) == 0,
            "the samples come back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CqWaveLimits limits;
    if (!fnText(data, size).starts_with("RIFF") && size >= 2) {
        Input input(data, size);
        limits.m_nStorageBytes = std::uint64_t{1} << input.fnBelow(33);
        limits.m_nChunks = input.fnByte();
        data += 2;
        size -= 2;
    }
    CqHeadlessWorld& world = fnWorld();
    const Balance balance;
    CqHeadlessResources& resources = *world.m_pResources;
    resources.fnAdd(resources.fnGetHostModule(), "WAVE", kResource, fnText(data, size));
    world.m_pDisks->fnPutFile(kPath, fnText(data, size));
    CqWave fromResource;
    fnLook(fromResource, fnTry([&] { fromResource.fnLoad(kResource); }));
    CqWave fromFile;
    const CqWaveFileResult result = q32ReadWave(kPath, fromFile, limits);
    fnLook(fromFile, result.fnIsDone());
    fnCheck(fromFile.fnGetBufferSize() <= limits.m_nStorageBytes, "within the limit of storage");
    fnCheck(result.m_eLimit == PICTURE_LIMIT_NONE || !result.fnIsDone(), "a limit refuses");
    fnDescribe(fromFile, limits);
    fnWriteBack(fromFile);
    fnWriteBack(fromResource);
    return 0;
}
