#include "platforms/headless/headless.h"
#include "tests/contract/FileContract.h"
#include "tests/contract/KeyboardContract.h"
#include "tests/contract/LocaleContract.h"
#include "tests/contract/MemoryContract.h"
#include "tests/contract/MixerContract.h"
#include "tests/contract/ScratchContract.h"
#include "tests/contract/WaveOutContract.h"

#include <filesystem>
#include <random>

namespace {

namespace fs = std::filesystem;

ContractWorld fnMakeWorld(CqHeadlessOptions options, std::shared_ptr<void> keep = nullptr) {
    const auto world = q32HeadlessWorld(options);
    world->m_pDisks->fnPutDirectory("C:\\Work");
    return {world->fnPlatform(), "C:\\Work\\", std::move(keep)};
}

ContractBackEnd fnInMemory(UINT codePage, int minutesEast) {
    return {"CodePage" + std::to_string(codePage), [=] {
                CqHeadlessOptions options;
                options.m_nCodePage = codePage;
                options.m_nMinutesEast = minutesEast;
                return fnMakeWorld(options);
            }};
}

/// The same with files in a real folder of the machine, which goes with the test.
ContractBackEnd fnInFolder() {
    return {"Folder", [] {
                static std::random_device random;
                const fs::path folder =
                    fs::temp_directory_path() / ("q32contract" + std::to_string(random()));
                fs::create_directory(folder);
                CqHeadlessOptions options;
                options.m_Volumes[0].m_szFolder = folder.string();
                return fnMakeWorld(options, std::shared_ptr<void>(nullptr, [folder](void*) {
                                       std::error_code error;
                                       fs::remove_all(folder, error);
                                   }));
            }};
}

/// Sound whose time the suite moves on.
ContractBackEnd fnSounding() {
    return {"Sounding", [] {
                const auto world = q32HeadlessWorld();
                world->m_pMixers->fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
                ContractWorld made{world->fnPlatform(), "", nullptr};
                made.m_Tick = [world] {
                    world->m_pWaveOut->fnAdvance(1000);
                    world->m_pWaveOut->fnWaitForReports();
                    world->m_pMixers->fnPump();
                };
                made.m_Turn = [world](bool up) {
                    const std::uint32_t value = up ? 50000 : 20000;
                    world->m_pMixers->fnMove(0, CQ_MIXER_CONTROL::VOLUME, {value, value});
                };
                return made;
            }};
}

const auto kSound = testing::Values(fnSounding());
const auto kMemory = testing::Values(fnInMemory(1252, 0));
const auto kDisks = testing::Values(fnInMemory(1252, 0), fnInFolder());
const auto kLocales =
    testing::Values(fnInMemory(1252, -300), fnInMemory(932, 540), fnInMemory(65001, 0));

} // namespace

INSTANTIATE_TEST_SUITE_P(Headless, MemoryContract, kMemory, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, KeyboardContract, kMemory, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, ScratchContract, kDisks, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, FileContract, kDisks, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, LocaleContract, kLocales, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, WaveOutContract, kSound, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Headless, MixerContract, kSound, fnBackEndName);
