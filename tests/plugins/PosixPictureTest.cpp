#include "platforms/headless/headless.h"
#include "plugins/PictureFile.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/module/Module.h"
#include "tests/platforms/PosixTestTools.h"

#include <gtest/gtest.h>

// No system call seeks beyond 2^63, or reads across it.
TEST(PosixPicture, AnOffsetBeyondAnyFileIsTheEndOfTheFile) {
    const q32::test::Folder folder;
    const auto world = q32HeadlessWorld();
    CqPlatform platform = world->fnPlatform();
    platform.m_pFiles = q32PosixPlatform().m_pFiles;
    q32Attach(platform);
    for (const char* highest : {"\x7F", "\xFF"}) {
        // A TIFF with 64-bit offsets: that of its directory.
        std::string file("II+\0\x08\0\0\0\xF0\xFF\xFF\xFF\xFF\xFF\xFF", 15);
        file += highest;
        folder.fnWrite("broken.tif", file);
        CqImage image;
        EXPECT_EQ(q32ReadPicture(folder.fnName("broken.tif").c_str(), image).m_nMsgId, -6);
        EXPECT_EQ(image.TileMap, nullptr);
    }
    q32Detach();
}
