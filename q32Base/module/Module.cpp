#include "q32Base/module/Module.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/services/CqDumpBin.h"

#include <cstring>
#include <utility>

namespace {

CqVMPolicy* thePolicy = nullptr;
CqDisplayProperty* theDisplay = nullptr;
bool theAttached = false;

/// Makes the two objects. False, after a message, when memory runs out.
bool fnCreateSingletons() {
    try {
        q32::fnGuardMemory([] {
            thePolicy = q32::fnNew<CqVMPolicy>();
            theDisplay = q32::fnNew<CqDisplayProperty>();
        });
        return true;
    } catch (CMemoryException* failure) {
        failure->Delete();
        q32ShowMsg(-1, nullptr, nullptr, nullptr, 0);
        delete thePolicy;
        thePolicy = nullptr;
        return false;
    }
}

constexpr HRESULT kSuccess = 0;
constexpr auto kUnspecifiedFailure = static_cast<HRESULT>(0x80004005u);

/// Where the fixed block stands in a version resource: behind the six bytes of its head and the
/// key's 15 characters, rounded up to four bytes.
constexpr std::size_t kKeyLength = 15;
constexpr std::size_t kFixedBlock = (kKeyLength * 2 + 11) & ~std::size_t{3};
constexpr std::size_t kProductVersionHigh = kFixedBlock + 16;
constexpr std::size_t kProductVersionLow = kFixedBlock + 20;

DWORD fnGetDword(const CqResourceData& data, std::size_t offset) {
    const auto* bytes = static_cast<const unsigned char*>(data.m_pBytes) + offset;
    return bytes[0] | DWORD{bytes[1]} << 8 | DWORD{bytes[2]} << 16 | DWORD{bytes[3]} << 24;
}

bool fnFindVersion(CqResourceData& data) {
    try {
        return q32::fnHasPlatform() &&
               q32::fnPlatform().m_pResources->fnFind(q32::fnModuleInstance(), RT_VERSION_ID,
                                                      WORD{1}, data) &&
               data.m_pBytes && data.m_nSize >= kProductVersionLow + sizeof(DWORD);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

bool q32Attach(CqPlatform platform) {
    if (q32::fnHasPlatform() || !platform.fnIsComplete())
        return false;
    q32::fnSetPlatform(std::move(platform));
    thePolicy = nullptr; // what a former run has left
    theDisplay = nullptr;
    if (!fnCreateSingletons()) {
        q32::fnClearPlatform();
        return false;
    }
    theAttached = true;
    thePolicy->fnSerialize(true);
    theDisplay->fnSerialize(true);
    return true;
}

void q32Detach() {
    if (!theAttached)
        return;
    q32DestroyDumpWnd();
    theAttached = false;
    delete thePolicy;
    delete theDisplay;
    q32::fnClearPlatform();
}

CqVMPolicy* q32GetVMPolicy() {
    return thePolicy;
}

CqDisplayProperty* q32GetDisplayProperty() {
    return theDisplay;
}

HRESULT DllGetVersion(DLLVERSIONINFO* record) {
    CqResourceData data;
    if (!record || !fnFindVersion(data))
        return kUnspecifiedFailure;
    // Deliberate: the caller's own size goes too, and all fields are filled whatever it was.
    std::memset(static_cast<void*>(record), 0, record->cbSize);
    record->dwMajorVersion = fnGetDword(data, kProductVersionHigh);
    record->dwMinorVersion = fnGetDword(data, kProductVersionLow);
    record->dwPlatformID = 1;
    return kSuccess;
}
