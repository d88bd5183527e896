#pragma once

#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <cstddef>
#include <string>

/// Names a resource type or a resource: by number, or by name when `m_szName` isn't null (case does
/// not count).
struct CqResourceId {
    CqResourceId(WORD number) : m_nNumber(number) {}
    CqResourceId(const char* name) : m_szName(name) {}

    WORD m_nNumber = 0;
    const char* m_szName = nullptr;
};

/// A resource's bytes, which begin at an address of four. They belong to the service and stay until
/// the resource is taken away.
struct CqResourceData {
    const void* m_pBytes = nullptr;
    std::size_t m_nSize = 0;
};

/// What hosts compile into their modules: bitmaps, sounds, strings, version.
/// Called on the host's thread. May throw std::bad_alloc.
class Q32_API CqResourceService {
public:
    virtual ~CqResourceService() = default;

    /// Finds a resource in a module, or in all of the host's modules in their order for null; the
    /// library's own is none of these. A name of digits is no number. False, and `data` stays, when
    /// it is missing or the module is unknown.
    virtual bool fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                        CqResourceData& data) = 0;

    /// Loads an entry of a module's string table, or of the first of the host's that has it for
    /// null. False, and `text` stays, when it is missing; a compiled entry that is empty or cut off
    /// counts as missing, as does an id above 65535.
    virtual bool fnLoadString(HINSTANCE module, UINT id, std::string& text) = 0;
};

namespace q32 {

/// The handle by which the library asks for resources of its own module, its version above all. A
/// constant that stands for no other module.
Q32_API HINSTANCE fnModuleInstance();

} // namespace q32
