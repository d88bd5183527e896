/// @file Sounds: for any bytes, as a resource and as a file, loading ends with a sound or a
/// failure, and the sound can be drawn. An input that doesn't begin as a WAV file begins with a
/// host's limits for the file, which the sound then keeps.

#include "fuzz/FuzzInput.h"
#include "plugins/WaveFile.h"

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
    return 0;
}
