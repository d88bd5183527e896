/// @file Sounds: for any bytes, as a resource and as a file, loading ends with a sound or a
/// failure, and the sound can be drawn.

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
    CqHeadlessWorld& world = fnWorld();
    const Balance balance;
    CqHeadlessResources& resources = *world.m_pResources;
    resources.fnAdd(resources.fnGetHostModule(), "WAVE", kResource, fnText(data, size));
    world.m_pDisks->fnPutFile(kPath, fnText(data, size));
    CqWave fromResource;
    fnLook(fromResource, fnTry([&] { fromResource.fnLoad(kResource); }));
    CqWave fromFile;
    fnLook(fromFile, q32ReadWave(kPath, fromFile).fnIsDone());
    return 0;
}
