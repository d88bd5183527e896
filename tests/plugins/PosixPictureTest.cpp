#include "platforms/headless/headless.h"
#include "plugins/PictureFile.h"
#include "plugins/WaveFile.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/module/Module.h"
#include "q32Base/sound/CqWave.h"
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

TEST(PosixSound, ASoundThatHasLostSamplesIsNotSavedOverAWholeOne) {
    using namespace q32::test;
    EXPECT_EQ(fnInChild([]() -> std::string {
                  const Folder scratch;
                  const Folder folder;
                  CqPosixOptions options;
                  options.m_szTempDirectory = scratch.fnPath();
                  options.m_szConfigDirectory = folder.fnPath("config");
                  options.m_bGuardViews = true;
                  Q32_WANT(q32Attach(q32PosixPlatform(options)));
                  q32GetVMPolicy()->fnSetRamLimit(0);
                  const std::string name = folder.fnName("a.wav");
                  {
                      CqWave wave(1, 16, 8000, 100000, true);
                      Q32_WANT(q32WriteWave(name.c_str(), wave).fnIsDone());
                      const std::string whole = folder.fnRead("a.wav");
                      fnCutFiles(scratch, 4096);
                      Q32_WANT(q32WriteWave(name.c_str(), wave).m_nMsgId == -1);
                      Q32_WANT(folder.fnRead("a.wav") == whole && folder.fnCount() == 1);
                      // Reported once; what is left can be saved.
                      Q32_WANT(q32WriteWave(name.c_str(), wave).fnIsDone());
                  }
                  q32Detach();
                  return "";
              }),
              "");
}
