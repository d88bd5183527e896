#pragma once

#include "q32Base/platform/CqResourceService.h"
#include "q32Base/platform/Export.h"

#include <memory>
#include <string>
#include <vector>

namespace q32::win32 {
class CodePage;
}

/// Resources that are compiled into modules, found by the system's loader: of several languages it
/// gives the user's. Any loaded module can be searched, and those added here, which may be loaded
/// as data files. The library's own module is not the system's: its version is that of this build.
class Q32_API CqWin32Resources final : public CqResourceService {
public:
    /// Searches these modules.
    /// @param modules   the host's, in search order
    /// @param codePage  of loaded strings
    CqWin32Resources(std::vector<HINSTANCE> modules,
                     std::shared_ptr<const q32::win32::CodePage> codePage);
    ~CqWin32Resources() override;

    /// Adds a module of the host after the others. It must stay loaded until it is removed.
    void fnAddModule(HINSTANCE module) { m_Modules.push_back(module); }
    /// Removes a module of the host. False for one that wasn't added.
    bool fnRemoveModule(HINSTANCE module) { return std::erase(m_Modules, module) > 0; }

    /// @copydoc CqResourceService::fnFind
    ///
    /// A name that begins with '#' is a number to the system.
    bool fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                CqResourceData& data) override;
    bool fnLoadString(HINSTANCE module, UINT id, std::string& text) override;

private:
    /// The module if it can be searched, or, for null, the host's.
    Q32_LOCAL std::vector<HINSTANCE> fnGetModules(HINSTANCE module) const;

    std::vector<HINSTANCE> m_Modules;
    std::shared_ptr<const q32::win32::CodePage> m_pCodePage;
    std::unique_ptr<CqResourceService> m_pOwn; ///< has the library's own
};
