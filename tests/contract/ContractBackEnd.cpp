#include "tests/contract/ContractBackEnd.h"

#include "q32Base/module/Module.h"

#include <algorithm>
#include <iterator>
#include <ostream>

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
