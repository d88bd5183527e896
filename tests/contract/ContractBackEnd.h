/// @file What a back end provides to run the contract suites of its services. The suites are
/// compiled once; each program links them and defines `fnGetBackEnds` and `fnGetOmittedContracts`
/// in one file, which lists the contracts its back ends must meet.
#pragma once

#include "q32Base/platform/CqPlatform.h"
#include "tests/contract/ContractProbes.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// The contracts: one or more suites per service.
enum class CONTRACT {
    MEMORY,
    SCRATCH,
    FILES,
    LOCALE,
    SCREEN,    ///< needs a complete platform and `m_MakeWindow`
    REGIONS,   ///< the regions of the screen service
    PALETTES,  ///< its palettes
    BOXES,     ///< the boxes of the message service: needs a complete platform and `m_pBoxes`
    ERRORS,    ///< its errors: needs `m_SetLastError`
    KEYBOARD,  ///< needs `m_pKeys`
    RESOURCES, ///< needs `m_pModules`
    WINDOWS,   ///< needs `m_pHost`
    DUMP_VIEW, ///< needs a complete platform and `m_pDump`
    WAVE_OUT,
    MIXERS,
    WORK ///< with a concurrency of several threads
};

/// A fresh world for one test. The fields after the services are the probes, by which a suite
/// observes and causes what no service exposes.
struct ContractWorld {
    CqPlatform m_Platform;         ///< with the services that the suite needs
    std::string m_szDirectory;     ///< empty, writable, with a trailing backslash
    std::shared_ptr<void> m_pKeep; ///< cleans up when the test ends
    /// Lets a little time pass: playback continues, and events are handled.
    std::function<void()> m_Tick = [] {};
    /// Sets the volume from outside to one of two values, both different from the initial one.
    std::function<void(bool up)> m_ChangeElsewhere = [](bool) {};
    /// Makes a visible window with a client area of at least `ContractWindow::kWidth` by `kHeight`.
    std::function<std::unique_ptr<ContractWindow>()> m_MakeWindow;
    std::function<void(DWORD code)> m_SetLastError;
    std::shared_ptr<ContractBoxes> m_pBoxes;
    std::shared_ptr<ContractKeys> m_pKeys;
    std::shared_ptr<ContractModules> m_pModules;
    std::shared_ptr<ContractHost> m_pHost;
    std::shared_ptr<ContractDump> m_pDump;
};

/// A back end under test: its contracts, and how to make a world for one test of it.
struct ContractBackEnd {
    std::string m_szName; ///< letters and digits, unique in the program
    std::set<CONTRACT> m_Contracts;
    std::function<ContractWorld()> m_Make;
};

/// The back ends of the program, at least one. Each program defines it once.
std::vector<ContractBackEnd> fnGetBackEnds();
/// Contracts that the program doesn't run though its platforms have the service: it is another back
/// end's, which is tested there, or a stand-in for an absent device. Each program defines it once.
std::set<CONTRACT> fnGetOmittedContracts();
/// Those that must meet a contract.
std::vector<ContractBackEnd> fnGetBackEnds(CONTRACT contract);

/// Shows the name in the output of parameterized tests.
void PrintTo(const ContractBackEnd& backEnd, std::ostream* stream);

/// Base of the suites.
class ContractTest : public testing::TestWithParam<ContractBackEnd> {
protected:
    ContractWorld m_World = GetParam().m_Make();
};

/// Base of the suites for services that the library uses through the platform in force.
class AttachedContractTest : public ContractTest {
protected:
    void SetUp() override;
    void TearDown() override;
};

/// Runs a suite on the program's back ends. A program whose back ends lack the service has no test
/// of it.
#define Q32_CONTRACT(suite, contract)                                                              \
    GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(suite);                                          \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        BackEnd, suite, testing::ValuesIn(fnGetBackEnds(CONTRACT::contract)),                      \
        [](const testing::TestParamInfo<ContractBackEnd>& info) { return info.param.m_szName; })
