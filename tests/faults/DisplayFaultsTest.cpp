/// @file
/// Drawing, sounds that are loaded and played, archives and the dump window, with each call of the
/// system and of the allocator failing in turn. Screen, resources and windows are those of a
/// scripted world.

#include "platforms/headless/headless.h"
#include "platforms/software/software.h"
#include "tests/faults/FaultTest.h"
#include "tests/platforms/QuickSound.h"

#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace q32::test {
namespace {

class DisplayFaults : public FaultTest {
protected:
    void SetUp() override {
        CqPosixOptions options = fnOptions();
        options.m_Others = m_World->fnPlatform();
        options.m_Others.m_pWaveOut = std::make_shared<QuickSound>();
        options.m_Others.m_pMessages = q32SoftwareServices().m_pMessages; // keep no record
        ASSERT_TRUE(q32Attach(q32PosixPlatform(options)));
        q32GetVMPolicy()->fnSetRamLimit(0);
        m_World->m_pScreen->fnKeepDraws(false);
    }

    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
};

TEST_F(DisplayFaults, DrawingIsDoneOrRefusedAndTheImageStays) {
    CqHeadlessWnd window(CRect(0, 0, 200, 150));
    const CRect all(0, 0, 150, 110);
    const struct {
        const char* m_szName;
        unsigned int m_nBits;
        std::function<bool(CqImage&, CDC*)> m_Draw;
    } kWays[] = {
        {"draw 8 bits", 8,
         [&](CqImage& image, CDC* dc) { return image.fnDraw(dc, all, 0, 0, false, false); }},
        {"draw 24 bits enlarged", 24,
         [&](CqImage& image, CDC* dc) {
             image.fnDrawInit(3u, false, all, CPoint(0, 0), &window);
             return image.fnDraw(dc, all, 10, 10, false, false);
         }},
        {"draw 32 bits reduced", 32,
         [&](CqImage& image, CDC* dc) {
             image.fnDrawInit(2u, true, all, CPoint(0, 0), &window);
             return image.fnDraw(dc, all, 0, 0, true, false);
         }},
        {"draw without the key", 24,
         [&](CqImage& image, CDC* dc) {
             return image.fnKeyDraw(dc, all, 0, 0, CqMergeParam(CqColor(1, 2, 3, 255)), false,
                                    false);
         }},
    };
    for (const auto& way : kWays) {
        std::optional<CqImage> image;
        Look before;
        FaultOperation operation;
        operation.m_szName = way.m_szName;
        operation.m_Prepare = [&] {
            image.emplace(150, 110, way.m_nBits, nullptr, 0);
            fnPaint(*image, 1);
            before = fnLook(*image);
        };
        operation.m_Work = [&] {
            image->fnDrawInit(1u, false, all, CPoint(0, 0), &window);
            CClientDC dc(&window);
            return dc && way.m_Draw(*image, dc.GetDC());
        };
        operation.m_Check = [&](bool) -> std::string {
            Q32_WANT(fnLook(*image) == before);
            return "";
        };
        operation.m_Clear = [&] { image.reset(); };
        EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 1u) << way.m_szName;
    }
}

TEST_F(DisplayFaults, ASoundIsLoadedOrTheOldOneStays) {
    constexpr std::uint32_t kBytes = 50000;
    constexpr WAVEFORMATEX kFormat = {1, 1, 8000, 8000, 1, 8, 0};
    std::string resource(44 + kBytes, 'x');
    std::memcpy(&resource[8], "WAVE", 4);
    std::memcpy(&resource[20], &kFormat, 16);
    std::memcpy(&resource[40], &kBytes, 4);
    CqHeadlessResources& resources = *m_World->m_pResources;
    ASSERT_TRUE(resources.fnAdd(resources.fnGetHostModule(), "WAVE", WORD{1}, resource));
    std::optional<CqWave> wave;
    FaultOperation operation;
    operation.m_szName = "load a sound";
    operation.m_Prepare = [&] { wave.emplace(1, 8, 8000, 10, true); };
    operation.m_Work = [&] {
        wave->fnLoad(1);
        return true;
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(wave->fnGetBufferSize() == (done ? kBytes : 10));
        Q32_WANT(wave->fnGetBuffer()[9] == (done ? 'x' : 0x80));
        return "";
    };
    operation.m_Clear = [&] { wave.reset(); };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 10u);
}

TEST_F(DisplayFaults, ASoundIsPlayedToItsEndOrRefused) {
    CqWave wave(1, 8, 8000, 5000, true);
    FaultOperation operation;
    operation.m_szName = "play a sound";
    operation.m_Work = [&] { return wave.fnPlay(true, false); };
    operation.m_Check = [&](bool) -> std::string {
        Q32_WANT(wave.fnGetState() == WAVE_STOPPED);
        return "";
    };
    EXPECT_GE(fnFailEachCall(m_Folder, operation).m_nRefused, 1u);
}

TEST_F(DisplayFaults, AMixersValuesAreSetOrStay) {
    m_World->m_pMixers->fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    CqHeadlessWnd parent(CRect(0, 0, 200, 150));
    std::optional<CqSoundCtrl> control;
    const struct {
        const char* m_szName;
        std::function<bool(CqSoundCtrl&)> m_Set;
        std::function<unsigned int(const CqSoundCtrl&)> m_Get;
    } kValues[] = {{"volume", [](CqSoundCtrl& c) { return c.fnSetVolume(200); },
                    [](const CqSoundCtrl& c) { return c.fnGetVolume(); }},
                   {"balance", [](CqSoundCtrl& c) { return c.fnSetBalance(200); },
                    [](const CqSoundCtrl& c) { return c.fnGetBalance(); }},
                   {"bass", [](CqSoundCtrl& c) { return c.fnSetBass(200); },
                    [](const CqSoundCtrl& c) { return c.fnGetBass(); }},
                   {"treble", [](CqSoundCtrl& c) { return c.fnSetTreble(200); },
                    [](const CqSoundCtrl& c) { return c.fnGetTreble(); }},
                   {"mute", [](CqSoundCtrl& c) { return c.fnSetMute(true); },
                    [](const CqSoundCtrl& c) { return c.fnGetMute() ? 200u : 128u; }}};
    for (const auto& value : kValues) {
        bool made = false;
        unsigned int before = 0;
        FaultOperation operation;
        operation.m_szName = std::string("set the ") + value.m_szName;
        operation.m_Prepare = [&] {
            control.emplace();
            made = control->fnCreate(&parent, 7, 5);
            before = value.m_Get(*control);
        };
        operation.m_Work = [&] { return value.m_Set(*control); };
        operation.m_Check = [&](bool done) -> std::string {
            Q32_WANT(made);
            Q32_WANT(value.m_Get(*control) == (done ? 200u : before));
            return "";
        };
        operation.m_Clear = [&] { control.reset(); };
        fnFailEachCall(m_Folder, operation);
    }
    FaultOperation operation;
    operation.m_szName = "open a mixer";
    operation.m_Prepare = [&] { control.emplace(); };
    operation.m_Work = [&] { return control->fnCreate(&parent, 7, 5); };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(done || !control->fnSetVolume(3));
        return "";
    };
    operation.m_Clear = [&] { control.reset(); };
    fnFailEachCall(m_Folder, operation);
}

TEST_F(DisplayFaults, AnArchiveHoldsACurveOrTheFailureIsRaised) {
    FaultOperation operation;
    operation.m_szName = "store and load curves";
    std::optional<CqCubicBezier2D> loaded;
    operation.m_Prepare = [&] {
        loaded.emplace(CqPoint2D(0, 0), CqPoint2D(0, 0), CqPoint2D(0, 0), CqPoint2D(0, 0), 1.0);
    };
    operation.m_Work = [&] {
        CMemFile file;
        CArchive out(&file, CArchive::store);
        for (int i = 0; i < 200; ++i) {
            CqCubicBezier2D curve(CqPoint2D(1, 2), CqPoint2D(3, 4), CqPoint2D(5, 6),
                                  CqPoint2D(i, 8), 1.0);
            curve.fnSerialize(out);
        }
        out.Close();
        file.Seek(0);
        CArchive in(&file, CArchive::load);
        for (int i = 0; i < 200; ++i)
            loaded->fnSerialize(in);
        return true;
    };
    operation.m_Check = [&](bool done) -> std::string {
        const CqPoint2D end = loaded->fnComputeValue(1.0);
        Q32_WANT(!done || (end.m_X == 199 && end.m_Y == 8));
        return "";
    };
    EXPECT_GE(fnFailEachCall(m_Folder, operation).m_nRefused, 1u);
}

TEST_F(DisplayFaults, TheDumpWindowShowsATextOrIsRefused) {
    FaultOperation operation;
    operation.m_szName = "the dump window";
    operation.m_Work = [&] {
        const bool created = q32CreateDumpWnd();
        CqDumpBin dump;
        dump << "one line\n" << 17 << 1.5;
        unsigned char bytes[40] = {};
        dump.fnHexDump("%p", bytes, sizeof bytes, 16);
        dump.fnClear();
        return created;
    };
    operation.m_Clear = [&] {
        q32DestroyDumpWnd();
        m_Folder.fnWrite("config/Qkz.cfg", "");
    };
    q32CreateDumpWnd(); // makes the folder of the settings
    q32DestroyDumpWnd();
    EXPECT_GE(fnFailEachCall(m_Folder, operation).m_nRefused, 1u);
}

} // namespace
} // namespace q32::test
