#include "platforms/headless/headless.h"
#include "tests/contract/ContractBackEnd.h"

#include <filesystem>
#include <random>

namespace {

namespace fs = std::filesystem;

ContractWorld fnMakeWorld(const CqHeadlessOptions& options, std::shared_ptr<void> keep = nullptr) {
    const auto world = q32HeadlessWorld(options);
    world->m_pDisks->fnPutDirectory("C:\\Work");
    ContractWorld made;
    made.m_Platform = world->fnPlatform();
    made.m_szDirectory = "C:\\Work\\";
    made.m_pKeep = std::move(keep);
    return made;
}

ContractBackEnd fnInMemory(UINT codePage, int minutesEast, std::set<CONTRACT> contracts) {
    return {"CodePage" + std::to_string(codePage), std::move(contracts), [=] {
                CqHeadlessOptions options;
                options.m_nCodePage = codePage;
                options.m_nMinutesEast = minutesEast;
                return fnMakeWorld(options);
            }};
}

/// The same with files in a real folder of the machine, which goes with the test.
ContractBackEnd fnInFolder() {
    return {"Folder", {CONTRACT::SCRATCH, CONTRACT::FILES}, [] {
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
    return {"Sounding", {CONTRACT::WAVE_OUT, CONTRACT::MIXERS}, [] {
                const auto world = q32HeadlessWorld();
                world->m_pMixers->fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
                ContractWorld made;
                made.m_Platform = world->fnPlatform();
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

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnInMemory(1252, -300,
                       {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
                        CONTRACT::KEYBOARD}),
            fnInMemory(932, 540, {CONTRACT::LOCALE}), fnInMemory(65001, 0, {CONTRACT::LOCALE}),
            fnInFolder(), fnSounding()};
}
