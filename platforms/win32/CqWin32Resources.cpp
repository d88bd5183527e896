#include "platforms/win32/CqWin32Resources.h"

#include "platforms/software/CqSoftwareResources.h"
#include "platforms/software/ResFile.h"
#include "platforms/win32/CodePage_p.h"

#include <algorithm>
#include <string_view>
#include <utility>

using namespace q32::win32;

namespace {

/// A type or name as the system takes it.
class SystemName {
public:
    SystemName(const CodePage& codePage, const CqResourceId& id)
        : m_nNumber(id.m_nNumber), m_bIsText(id.m_szName != nullptr) {
        if (m_bIsText)
            m_szText = codePage.fnToWideAnyhow(id.m_szName);
    }
    const wchar_t* fnGet() const {
        return m_bIsText ? m_szText.c_str() : MAKEINTRESOURCEW(m_nNumber);
    }

private:
    WORD m_nNumber;
    bool m_bIsText;
    std::wstring m_szText;
};

bool fnFindIn(HINSTANCE module, const SystemName& type, const SystemName& name,
              CqResourceData& data) {
    alignas(4) static constexpr char kNothing[4] = {};
    const HRSRC found = ::FindResourceW(module, name.fnGet(), type.fnGet());
    if (!found)
        return false;
    const DWORD size = ::SizeofResource(module, found);
    const HGLOBAL loaded = ::LoadResource(module, found);
    const void* bytes = loaded ? ::LockResource(loaded) : nullptr;
    if (!bytes && size > 0)
        return false;
    data = {bytes ? bytes : kNothing, size};
    return true;
}

bool fnIsLoaded(HINSTANCE module) {
    HMODULE owner = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                    GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                reinterpret_cast<const wchar_t*>(module), &owner) &&
           owner == module;
}

} // namespace

CqWin32Resources::CqWin32Resources(std::vector<HINSTANCE> modules,
                                   std::shared_ptr<const CodePage> codePage)
    : m_Modules(std::move(modules)), m_pCodePage(std::move(codePage)),
      m_pOwn(std::make_unique<CqSoftwareResources>(m_pCodePage->fnGetNumber())) {}

CqWin32Resources::~CqWin32Resources() = default;

std::vector<HINSTANCE> CqWin32Resources::fnGetModules(HINSTANCE module) const {
    if (!module)
        return m_Modules;
    const bool isKnown = std::ranges::find(m_Modules, module) != m_Modules.end();
    return isKnown || fnIsLoaded(module) ? std::vector{module} : std::vector<HINSTANCE>();
}

bool CqWin32Resources::fnFind(HINSTANCE module, CqResourceId type, CqResourceId name,
                              CqResourceData& data) {
    if (module == q32::fnModuleInstance())
        return m_pOwn->fnFind(module, type, name, data);
    const SystemName systemType(*m_pCodePage, type);
    const SystemName systemName(*m_pCodePage, name);
    return std::ranges::any_of(fnGetModules(module), [&](HINSTANCE each) {
        return fnFindIn(each, systemType, systemName, data);
    });
}

bool CqWin32Resources::fnLoadString(HINSTANCE module, UINT id, std::string& text) {
    constexpr UINT kInBlock = 16;
    constexpr UINT kMaxId = 0xFFFF;
    if (module == q32::fnModuleInstance())
        return m_pOwn->fnLoadString(module, id, text);
    if (id > kMaxId)
        return false;
    const SystemName type(*m_pCodePage, RT_STRING_ID);
    const SystemName name(*m_pCodePage, static_cast<WORD>(id / kInBlock + 1));
    return std::ranges::any_of(fnGetModules(module), [&](HINSTANCE each) {
        CqResourceData data;
        std::u16string units;
        if (!fnFindIn(each, type, name, data) ||
            !q32::software::fnReadStringBlock(
                {static_cast<const char*>(data.m_pBytes), data.m_nSize}, id, units))
            return false;
        text = m_pCodePage->fnFromWideAnyhow(std::wstring(units.begin(), units.end()));
        return true;
    });
}
