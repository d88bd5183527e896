#include "tests/contract/ContractBackEnd.h"

#include "q32Base/module/Module.h"

#include <algorithm>
#include <iterator>
#include <ostream>

namespace {

struct ServiceContract {
    CONTRACT m_eContract;
    const char* m_pName;
    bool (*m_fnHasService)(const CqPlatform& platform);
};

/// Every contract, with the service that has to meet it.
constexpr ServiceContract kContracts[] = {
    {CONTRACT::MEMORY, "memory", [](const CqPlatform& p) { return p.m_pMemory != nullptr; }},
    {CONTRACT::SCRATCH, "scratch", [](const CqPlatform& p) { return p.m_pScratch != nullptr; }},
    {CONTRACT::FILES, "files", [](const CqPlatform& p) { return p.m_pFiles != nullptr; }},
    {CONTRACT::LOCALE, "locale", [](const CqPlatform& p) { return p.m_pLocale != nullptr; }},
    {CONTRACT::SCREEN, "screen", [](const CqPlatform& p) { return p.m_pScreen != nullptr; }},
    {CONTRACT::REGIONS, "regions", [](const CqPlatform& p) { return p.m_pScreen != nullptr; }},
    {CONTRACT::PALETTES, "palettes", [](const CqPlatform& p) { return p.m_pScreen != nullptr; }},
    {CONTRACT::BOXES, "boxes", [](const CqPlatform& p) { return p.m_pMessages != nullptr; }},
    {CONTRACT::ERRORS, "errors", [](const CqPlatform& p) { return p.m_pMessages != nullptr; }},
    {CONTRACT::KEYBOARD, "keyboard", [](const CqPlatform& p) { return p.m_pKeyboard != nullptr; }},
    {CONTRACT::RESOURCES, "resources",
     [](const CqPlatform& p) { return p.m_pResources != nullptr; }},
    {CONTRACT::WINDOWS, "windows", [](const CqPlatform& p) { return p.m_pWindows != nullptr; }},
    {CONTRACT::DUMP_VIEW, "dump view", [](const CqPlatform& p) { return p.m_pWindows != nullptr; }},
    {CONTRACT::WAVE_OUT, "wave output",
     [](const CqPlatform& p) { return p.m_pWaveOut != nullptr; }},
    {CONTRACT::MIXERS, "mixers", [](const CqPlatform& p) { return p.m_pMixers != nullptr; }},
    {CONTRACT::WORK, "work", [](const CqPlatform& p) { return p.m_pWork != nullptr; }}};
static_assert(std::size(kContracts) == static_cast<std::size_t>(CONTRACT::WORK) + 1);

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds(CONTRACT contract) {
    std::vector<ContractBackEnd> all = fnGetBackEnds();
    std::erase_if(all, [&](const ContractBackEnd& backEnd) {
        return !backEnd.m_Contracts.contains(contract);
    });
    return all;
}

void PrintTo(const ContractBackEnd& backEnd, std::ostream* stream) {
    *stream << backEnd.m_szName;
}

void AttachedContractTest::SetUp() {
    ASSERT_TRUE(q32Attach(m_World.m_Platform));
}

void AttachedContractTest::TearDown() {
    q32Detach();
    q32SetMessageService(nullptr); // destroys the world and its probes
}

TEST(Contract, EveryProgramHasBackEndsAndEachMeetsContracts) {
    const std::vector<ContractBackEnd> all = fnGetBackEnds();
    EXPECT_FALSE(all.empty());
    for (const ContractBackEnd& backEnd : all)
        EXPECT_FALSE(backEnd.m_Contracts.empty()) << backEnd.m_szName;
}

TEST(Contract, EveryServiceMeetsItsContractsExceptThoseDeclaredAsOmitted) {
    const std::set<CONTRACT> omitted = fnGetOmittedContracts();
    std::vector<CqPlatform> platforms;
    for (const ContractBackEnd& backEnd : fnGetBackEnds())
        platforms.push_back(backEnd.m_Make().m_Platform);
    for (const auto& [contract, name, hasService] : kContracts) {
        const bool provided = std::any_of(platforms.begin(), platforms.end(), hasService);
        const bool met = !fnGetBackEnds(contract).empty();
        EXPECT_FALSE(met && omitted.contains(contract)) << name << ": met, so not omitted";
        EXPECT_EQ(provided, met || omitted.contains(contract))
            << name << ": "
            << (provided ? "nothing tests the service" : "there is no such service");
    }
}
