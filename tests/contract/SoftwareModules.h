/// @file The modules of a `CqSoftwareResources`, for the back ends that use one.
#pragma once

#include "platforms/software/CqSoftwareResources.h"
#include "tests/contract/ContractProbes.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

class SoftwareModules final : public ContractModules {
public:
    explicit SoftwareModules(std::shared_ptr<CqSoftwareResources> resources)
        : m_pResources(std::move(resources)) {}
    HINSTANCE fnAddModule() override { return m_pResources->fnAddModule(); }
    void fnRemoveModule(HINSTANCE module) override {
        EXPECT_TRUE(m_pResources->fnRemoveModule(module));
    }
    void fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name,
               std::string_view bytes) override {
        EXPECT_TRUE(m_pResources->fnAdd(module, type, name, bytes));
    }
    void fnAddString(HINSTANCE module, UINT id, const std::string& text) override {
        EXPECT_TRUE(m_pResources->fnAddString(module, id, text));
    }

private:
    const std::shared_ptr<CqSoftwareResources> m_pResources;
};
