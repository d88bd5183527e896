#pragma once

#include "platforms/headless/CqHeadlessCalls.h"
#include "platforms/software/CqSoftwareResources.h"

#include <string>

/// Modules with their resources; calls are counted and fail on demand.
class CqHeadlessResources final : public CqSoftwareResources {
public:
    using CqSoftwareResources::CqSoftwareResources;

    CqHeadlessCalls m_Find;       ///< calls of `fnFind`; a failed one finds nothing
    CqHeadlessCalls m_LoadString; ///< calls of `fnLoadString`; a failed one finds nothing

    bool fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                CqResourceData& data) override {
        return m_Find.fnPass() && CqSoftwareResources::fnFind(module, type, name, data);
    }
    bool fnLoadString(HINSTANCE module, UINT id, std::string& text) override {
        return m_LoadString.fnPass() && CqSoftwareResources::fnLoadString(module, id, text);
    }
};
