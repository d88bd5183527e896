#include "q32Base/module/Module.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/messages/ReportMemory.h"
#include "q32Base/services/CqDumpBin.h"

#include <cstring>
#include <memory>
#include <utility>

namespace {

/// An object that exists while attached, and the pointer that its accessor returns, which a detach
/// leaves unchanged.
template <typename Object>
struct Singleton {
    std::unique_ptr<Object> m_pOwned;
    Object* m_pAnswer = nullptr;

    void fnMake() {
        m_pOwned.reset(q32::fnNew<Object>());
        m_pAnswer = m_pOwned.get();
    }
    void fnForget() {
        m_pOwned.reset();
        m_pAnswer = nullptr;
    }
};

Singleton<CqVMPolicy> thePolicy;
Singleton<CqDisplayProperty> theDisplay; // created last: the library is attached while it is owned

/// Creates the two objects. False, after a message, if memory is exhausted.
bool fnMakeSingletons() {
    const bool made = q32::fnReportMemory([] {
        thePolicy.fnMake();
        theDisplay.fnMake();
    });
    if (!made)
        thePolicy.fnForget();
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
    thePolicy.fnForget(); // left by an earlier attach
    theDisplay.fnForget();
    if (!fnMakeSingletons()) {
        q32::fnClearPlatform();
        return false;
    }
    thePolicy.m_pOwned->fnSerialize(true);
    theDisplay.m_pOwned->fnSerialize(true);
    return true;
}

const char* q32Version() {
    return Q32_VERSION;
}

void q32Detach() {
    if (!theDisplay.m_pOwned)
        return;
    q32DestroyDumpWnd();
    thePolicy.m_pOwned->fnReleaseHeld();
    thePolicy.m_pOwned.reset();
    theDisplay.m_pOwned.reset();
    q32::fnClearPlatform();
}

CqVMPolicy* q32GetVMPolicy() {
    return thePolicy.m_pAnswer;
}

CqDisplayProperty* q32GetDisplayProperty() {
    return theDisplay.m_pAnswer;
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
