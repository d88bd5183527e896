#include "q32Base/module/Module.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/display/CqDisplayProperty_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqVMPolicy_p.h"
#include "q32Base/messages/ReportMemory.h"
#include "q32Base/services/CqDumpBin.h"

#include <cassert>
#include <cstring>
#include <memory>
#include <utility>

namespace {

// They exist while attached. What the accessors return is set apart, since a detach leaves it
// unchanged.
std::unique_ptr<CqVMPolicy> thePolicy;
std::unique_ptr<CqDisplayProperty> theDisplay; // created last: the library is attached while it is

/// Creates the two objects. False, after a message, if memory is exhausted.
bool fnMakeSingletons() {
    const bool made = q32::fnReportMemory([] {
        thePolicy.reset(q32::fnNew<CqVMPolicy>());
        q32::fnSetVMPolicy(thePolicy.get());
        theDisplay.reset(q32::fnNew<CqDisplayProperty>());
        q32::fnSetDisplayProperty(theDisplay.get());
    });
    if (!made) {
        thePolicy.reset();
        q32::fnSetVMPolicy(nullptr);
    }
    return made;
}

constexpr HRESULT kSuccess = 0;
constexpr auto kUnspecifiedFailure = static_cast<HRESULT>(0x80004005u);

/// Offset of the fixed block in a version resource: after the six-byte header and the key's 15
/// two-byte characters and NUL, rounded up to four bytes.
constexpr std::size_t kKeyLength = 15;
constexpr std::size_t kFixedBlock = (kKeyLength * 2 + 11) & ~std::size_t{3};
constexpr std::size_t kProductVersionHigh = kFixedBlock + 16;
constexpr std::size_t kProductVersionLow = kFixedBlock + 20;

DWORD fnGetDword(const CqResourceData& data, std::size_t offset) {
    const auto* bytes = static_cast<const unsigned char*>(data.m_pBytes) + offset;
    return bytes[0] | DWORD{bytes[1]} << 8 | DWORD{bytes[2]} << 16 | DWORD{bytes[3]} << 24;
}

bool fnFindVersion(CqResourceData& data) {
    return q32::fnTryMemory([&] {
        return q32::fnHasPlatform() &&
               q32::fnPlatform().m_pResources->fnFind(q32::fnModuleInstance(), RT_VERSION_ID,
                                                      WORD{1}, data) &&
               data.m_pBytes && data.m_nSize >= kProductVersionLow + sizeof(DWORD);
    });
}

} // namespace

bool q32Attach(CqPlatform platform) {
    if (q32::fnHasPlatform() || !platform.fnIsComplete())
        return false;
    q32::fnSetPlatform(std::move(platform));
    q32::fnSetVMPolicy(nullptr); // left by an earlier attach
    q32::fnSetDisplayProperty(nullptr);
    if (!fnMakeSingletons()) {
        q32::fnClearPlatform();
        return false;
    }
    assert(q32GetVMPolicy() == thePolicy.get() && q32GetDisplayProperty() == theDisplay.get());
    thePolicy->fnSerialize(true);
    theDisplay->fnSerialize(true);
    return true;
}

const char* q32Version() {
    return Q32_VERSION;
}

void q32Detach() {
    if (!theDisplay)
        return;
    assert(thePolicy && q32::fnHasPlatform()); // made earlier, released later
    q32DestroyDumpWnd();
    thePolicy->fnReleaseHeld();
    thePolicy.reset();
    theDisplay.reset();
    q32::fnClearPlatform();
}

HRESULT DllGetVersion(DLLVERSIONINFO* record) {
    CqResourceData data;
    if (!record || !fnFindVersion(data))
        return kUnspecifiedFailure;
    // Deliberate: zeroes `cbSize` too, and fills all fields whatever it was.
    std::memset(static_cast<void*>(record), 0, record->cbSize);
    record->dwMajorVersion = fnGetDword(data, kProductVersionHigh);
    record->dwMinorVersion = fnGetDword(data, kProductVersionLow);
    record->dwPlatformID = 1;
    return kSuccess;
}
