/// @file
/// What a back end has to bring to be held against the contract suites of its services. A suite is
/// instantiated once for each back end:
///
///     INSTANTIATE_TEST_SUITE_P(Posix, MemoryContract, testing::Values(backEnd), fnBackEndName);
#pragma once

#include "q32Base/platform/CqPlatform.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

/// A fresh world for one test.
struct ContractWorld {
    CqPlatform m_Platform;         ///< with the services that the suite asks for
    std::string m_szDirectory;     ///< empty, writable, with a backslash at its end
    std::shared_ptr<void> m_pKeep; ///< cleans up when the test ends
    /// Lets a little time pass: what plays goes on, and mixers are told of changes.
    std::function<void()> m_Tick = [] {};
    /// Turns the volume from outside to one of two values that are not the first one.
    std::function<void(bool up)> m_Turn = [](bool) {};
};

struct ContractBackEnd {
    std::string m_szName;
    std::function<ContractWorld()> m_Make;
};

inline void PrintTo(const ContractBackEnd& backEnd, std::ostream* stream) {
    *stream << backEnd.m_szName;
}

inline std::string fnBackEndName(const testing::TestParamInfo<ContractBackEnd>& info) {
    return info.param.m_szName;
}

/// Base of the suites.
class ContractTest : public testing::TestWithParam<ContractBackEnd> {
protected:
    ContractWorld m_World = GetParam().m_Make();
};
