#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <gtest/gtest.h>

#include <memory>

/// A test that runs with the library attached to its own headless world. Checks at the end for
/// anything the library left behind.
class AttachedTest : public ::testing::Test {
protected:
    explicit AttachedTest(const CqHeadlessOptions& options = CqHeadlessOptions())
        : m_World(q32HeadlessWorld(options)) {}

    void SetUp() override { ASSERT_TRUE(q32Attach(m_World->fnPlatform())); }

    void TearDown() override {
        const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
        q32Detach();
        EXPECT_EQ(used, 0u);
        EXPECT_EQ(m_World->m_pMemory->fnGetCommittedRanges(), 0u);
        EXPECT_EQ(m_World->m_pScratch->fnGetHandles(), 0u);
        EXPECT_EQ(m_World->m_pScratch->fnGetMappings(), 0u);
        EXPECT_EQ(m_World->m_pScratch->fnGetViews(), 0u);
        EXPECT_EQ(m_World->m_pMisuses->fnGetAll(), std::vector<std::string>());
    }

    std::shared_ptr<CqHeadlessWorld> m_World;
};

/// Runs `work` and returns whether it ended with the memory exception.
template <typename Work>
bool fnRaisesMemoryException(Work&& work) {
    try {
        work();
    } catch (CMemoryException* failure) {
        failure->Delete();
        return true;
    }
    return false;
}

/// The same for the resource exception.
template <typename Work>
bool fnRaisesResourceException(Work&& work) {
    try {
        work();
    } catch (CResourceException* failure) {
        failure->Delete();
        return true;
    }
    return false;
}
