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
/// the library runs. At first there are two: the host's, which is empty, and the library's own,
/// which holds the version of this build. A search in all modules goes through them in the order in
/// which they were added, the library's last.
class Q32_API CqSoftwareResources : public CqResourceService {
public:
    /// @param codePage  of loaded strings, see `q32::software::fnFromUtf16`
    explicit CqSoftwareResources(UINT codePage);

    HINSTANCE fnGetHostModule() const { return fnToHandle(0); }
    HINSTANCE fnGetLibraryModule() const { return q32::fnModuleInstance(); }
    HINSTANCE fnAddModule();
    /// Takes a module away with all that is in it. False for an unknown one.
    bool fnRemoveModule(HINSTANCE module);

    /// Puts a resource into a module, in place of one of the same type and name. False for an
    /// unknown module.
    bool fnAdd(HINSTANCE module, CqResourceId type, CqResourceId name, std::string_view bytes);
    bool fnRemove(HINSTANCE module, CqResourceId type, CqResourceId name);
    /// Puts a text in the code page into a module. It comes before a compiled one of the same id.
    bool fnAddString(HINSTANCE module, UINT id, std::string text);
    /// Takes a text away that `fnAddString` has put there.
    bool fnRemoveString(HINSTANCE module, UINT id);
    /// Puts the entries of a compiled resource file into a module. Of entries that differ only in
    /// language, the first is kept. False for an unknown module and a broken file; nothing is put
    /// there then.
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
    /// The module, or all of the host's in their order for null.
    std::vector<Module*> fnGetModules(HINSTANCE module);

    std::map<HINSTANCE, Module> m_Modules;
    std::vector<HINSTANCE> m_Order;
    std::size_t m_nNextModule = 0;
    UINT m_nCodePage;
};
