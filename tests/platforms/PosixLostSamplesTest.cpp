/// @file
/// Sounds whose scratch file is cut by another process, guarded against lost pages.

#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/platforms/QuickSound.h"
#include "tests/support/AttachedTest.h"

#include <cstring>
#include <functional>

namespace q32::test {
namespace {

constexpr std::uint32_t kFrames = 50000;

/// A process with the library and a sound in a scratch file, of samples of value 1.
std::string
fnWithSound(const std::function<std::string(CqWave&, const Folder&, const QuickSound&)>& work) {
    return fnInChild([&]() -> std::string {
        const Folder folder;
        CqPosixOptions options;
        options.m_szTempDirectory = folder.fnPath();
        options.m_szConfigDirectory = folder.fnPath("config");
        options.m_bGuardViews = true;
        const auto sound = std::make_shared<QuickSound>();
        options.m_Others.m_pWaveOut = sound;
        Q32_WANT(q32Attach(q32PosixPlatform(options)));
        q32GetVMPolicy()->fnSetRamLimit(0);
        std::string found;
        {
            CqWave wave(1, 8, 8000, kFrames, false);
            std::memset(wave.fnGetBuffer(), 1, kFrames);
            found = work(wave, folder, *sound);
        }
        q32Detach();
        return found.empty() && folder.fnCount() != 0 ? "a file is left" : found;
    });
}

} // namespace

TEST(PosixLostSamples, EachOperationReportsThemOnceAndTheRestCanBeUsed) {
    using Operation = std::function<void(CqWave&)>;
    for (const Operation& operation : std::initializer_list<Operation>{
             [](CqWave& wave) { const CqWave copy(wave); }, [](CqWave& wave) { wave.fnMute(); },
             [](CqWave& wave) {
                 unsigned char samples[100] = {};
                 wave.fnFillBuffer(samples, sizeof(samples));
             },
             [](CqWave& wave) {
                 CqImage image(300, 20, 24, nullptr, 0);
                 wave.fnRasterize(image, 0, kFrames, false, false);
             }}) {
        EXPECT_EQ(
            fnWithSound([&](CqWave& wave, const Folder& folder, const QuickSound&) -> std::string {
                Q32_WANT(wave.fnCountLosses() == 0 && !wave.fnHasNewLosses());
                fnCutFiles(folder, 4096);
                Q32_WANT(fnRaisesMemoryException([&] { operation(wave); }));
                Q32_WANT(wave.fnCountLosses() != 0 && !wave.fnHasNewLosses());
                Q32_WANT(!fnRaisesMemoryException([&] { operation(wave); }));
                return "";
            }),
            "");
    }
}

TEST(PosixLostSamples, AFailedCopyLeavesTheOldSound) {
    EXPECT_EQ(fnWithSound([](CqWave& wave, const Folder& folder, const QuickSound&) -> std::string {
                  fnCutFiles(folder, 4096);
                  CqWave other(2, 16, 44100, 10, true);
                  const unsigned char* block = other.fnGetBuffer();
                  Q32_WANT(fnRaisesMemoryException([&] { other = wave; }));
                  Q32_WANT(other.fnGetBuffer() == block && other.fnGetFrameCount() == 10);
                  other = wave;
                  Q32_WANT(other.fnGetBuffer()[4095] == 1 && other.fnGetBuffer()[4096] == 0);
                  return "";
              }),
              "");
}

TEST(PosixLostSamples, PlayingToTheEndSaysThatSomeWereSilent) {
    EXPECT_EQ(
        fnWithSound([](CqWave& wave, const Folder& folder, const QuickSound& sound) -> std::string {
            Q32_WANT(wave.fnPlay(true, false) && sound.m_nHeard == kFrames);
            fnCutFiles(folder, 4096);
            Q32_WANT(!wave.fnPlay(true, false) && sound.m_nHeard == 4096);
            Q32_WANT(wave.fnGetState() == WAVE_STOPPED);
            Q32_WANT(wave.fnPlay(true, false));
            return "";
        }),
        "");
}

TEST(PosixLostSamples, AnExchangeTakesTheReportAlong) {
    EXPECT_EQ(fnWithSound([](CqWave& wave, const Folder& folder, const QuickSound&) -> std::string {
                  fnCutFiles(folder, 0);
                  CqWave other(1, 8, 8000, 10, true);
                  Q32_WANT(wave.fnGetBuffer()[9] == 0);
                  wave.fnSwapBuf(other);
                  Q32_WANT(!wave.fnHasNewLosses() && other.fnHasNewLosses());
                  wave.fnSwapBuf(other);
                  Q32_WANT(!wave.fnHasNewLosses());
                  return "";
              }),
              "");
}

} // namespace q32::test
