// Sounds: for any bytes, as a resource and as a file, loading ends with a sound or a failure, and
// the sound can be drawn.
#include "platforms/headless/headless.h"
#include "plugins/WaveFile.h"
#include "q32Base/q32Base.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr char kPath[] = "C:\\Temp\\sound";
constexpr WORD kResource = 1;

CqHeadlessWorld& fnWorld() {
    static const auto world = [] {
        auto made = q32HeadlessWorld();
        q32Attach(made->fnPlatform());
        // Below the fuzzer's own memory limit.
        q32GetVMPolicy()->fnSetRamLimit(64u << 20);
        q32GetVMPolicy()->fnEnableDisk(0, false);
        return made;
    }();
    return *world;
}

bool fnLoadResource(CqWave& wave) {
    try {
        wave.fnLoad(kResource);
        return true;
    } catch (CException* failure) {
        failure->Delete();
        return false;
    }
}

void fnLook(const CqWave& wave, bool loaded) {
    if (loaded != (wave.fnGetBuffer() != nullptr))
        std::abort();
    const std::uint32_t frames = wave.fnGetFrameCount();
    CqImage image(37, 29, 8, nullptr, 0);
    wave.fnRasterize(image, 0, frames, false, false);
    wave.fnRasterize(image, frames / 2, frames, true, false);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CqHeadlessWorld& world = fnWorld();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    CqHeadlessResources& resources = *world.m_pResources;
    resources.fnAdd(resources.fnGetHostModule(), "WAVE", kResource, bytes);
    world.m_pDisks->fnPutFile(kPath, bytes);
    const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
    {
        CqWave fromResource;
        fnLook(fromResource, fnLoadResource(fromResource));
        CqWave fromFile;
        fnLook(fromFile, q32ReadWave(kPath, fromFile).fnIsDone());
    }
    if (q32GetVMPolicy()->fnGetRamUsed() != used || world.m_pDisks->fnGetOpenFiles() != 0)
        std::abort();
    return 0;
}
