// Picture files of every format: for any bytes, reading ends with a picture or a message.
#include "platforms/headless/headless.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr char kPath[] = "C:\\Temp\\picture";
/// Below the fuzzer's own memory limit.
constexpr std::uint32_t kPixelBytes = 64u << 20;

CqHeadlessWorld& fnWorld() {
    static const auto world = [] {
        auto made = q32HeadlessWorld();
        q32Attach(made->fnPlatform());
        q32GetVMPolicy()->fnSetRamLimit(kPixelBytes);
        q32GetVMPolicy()->fnEnableDisk(0, false);
        return made;
    }();
    return *world;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CqHeadlessWorld& world = fnWorld();
    world.m_pDisks->fnPutFile(kPath, std::string_view(reinterpret_cast<const char*>(data), size));
    const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
    {
        CqImage image;
        const CqPictureResult result = q32ReadPicture(kPath, image);
        if (result.fnIsDone() != (image.TileMap != nullptr))
            std::abort();
    }
    if (q32GetVMPolicy()->fnGetRamUsed() != used || world.m_pDisks->fnGetOpenFiles() != 0)
        std::abort();
    return 0;
}
