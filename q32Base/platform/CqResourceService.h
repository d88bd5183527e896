#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <string>

/// Names a resource type or a resource: by number, or by name when `m_szName` isn't null
/// (case-insensitive).
struct CqResourceId {
    /// By number.
    CqResourceId(WORD number) : m_nNumber(number) {}
    /// By a name, which isn't copied.
    CqResourceId(const char* name) : m_szName(name) {}

    WORD m_nNumber = 0;             ///< meaningless beside a name
    const char* m_szName = nullptr; ///< null: by number
};

/// A resource's bytes, aligned to four. They are owned by the service and valid until the resource
/// is removed.
struct CqResourceData {
    const void* m_pBytes = nullptr; ///< the first byte
    std::size_t m_nSize = 0;        ///< how many there are
};

/// Resources compiled into the host's modules: bitmaps, sounds, strings, version. Called on the
/// host's thread. May throw std::bad_alloc.
class Q32_API CqResourceService {
public:
    virtual ~CqResourceService() = default;

    /// Finds a resource in a module, or for null in the host's modules in their order, which don't
    /// include the library's own. A name made of digits isn't a number. False, with `data`
    /// unchanged, if it is missing or the module is unknown.
    virtual bool fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                        CqResourceData& data) = 0;

    /// Loads an entry of a module's string table, or for null of the first host module that has it.
    /// False, with `text` unchanged, if it is missing; a compiled entry that is empty or truncated
    /// counts as missing, as does an id above 65535.
    virtual bool fnLoadString(HINSTANCE module, UINT id, std::string& text) = 0;
};

namespace q32 {

/// The handle under which the library requests resources of its own module, such as its version.
/// Constant, and distinct from every other module's.
Q32_API HINSTANCE fnModuleInstance();

} // namespace q32
