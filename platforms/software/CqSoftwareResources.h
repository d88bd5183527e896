#pragma once

#include "platforms/software/ResFile.h"
#include "q32Base/platform/CqResourceService.h"
#include "q32Base/platform/Export.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Modules with their resources, filled from tables and from compiled resource files, also while
/// the library runs. Initially there are two: the host's, which is empty, and the library's own,
/// which holds the version of this build. A search in all modules visits them in the order in which
/// they were added, the library's last.
class Q32_API CqSoftwareResources : public CqResourceService {
public:
    /// The two modules that there are initially.
    /// @param codePage  of loaded strings; see `q32::software::fnFromUtf16`
    explicit CqSoftwareResources(UINT codePage);

    /// The host's module, which is there from the start.
    HINSTANCE fnGetHostModule() const { return fnToHandle(0); }
    /// The library's own module, with its version.
    HINSTANCE fnGetLibraryModule() const { return q32::fnModuleInstance(); }
    /// Adds an empty module and returns its handle.
    HINSTANCE fnAddModule();
    /// Removes a module with its resources. False for an unknown one.
    bool fnRemoveModule(HINSTANCE module);

    /// Adds a resource to a module, replacing one of the same type and name. False for an unknown
    /// module.
    bool fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name, std::string_view bytes);
    /// Removes a resource, whose bytes are then freed. False if it is missing.
    bool fnRemove(HINSTANCE module, CqResourceId type, CqResourceId name);
    /// Adds a text in the code page to a module. It takes precedence over a compiled one of the
    /// same id. False for an unknown module.
    bool fnAddString(HINSTANCE module, UINT id, std::string text);
    /// Removes a text added by `fnAddString`.
    bool fnRemoveString(HINSTANCE module, UINT id);
    /// Adds the entries of a compiled resource file to a module. Of entries that differ only in
    /// language, the first is used. False, with nothing added, for an unknown module or a corrupt
    /// file.
    bool fnAddCompiled(HINSTANCE module, std::string_view file);

    bool fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                CqResourceData& data) override;
    bool fnLoadString(HINSTANCE module, UINT id, std::string& text) override;

private:
    using Key = std::pair<q32::software::ResName, q32::software::ResName>;
    struct Module {
        std::map<Key, std::vector<char>> m_Entries;
        std::map<UINT, std::string> m_Strings;
    };
    static HINSTANCE fnToHandle(std::size_t number);
    /// The module, or, for null, all modules in search order.
    Q32_LOCAL std::vector<Module*> fnGetModules(HINSTANCE module);

    std::map<HINSTANCE, Module> m_Modules;
    std::vector<HINSTANCE> m_Order;
    std::size_t m_nNextModule = 0;
    UINT m_nCodePage;
};
