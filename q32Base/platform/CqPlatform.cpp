#include "q32Base/platform/CqPlatform.h"

#include "q32Base/platform/Checked_p.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

namespace {

std::optional<CqPlatform> thePlatform;
std::shared_ptr<CqMessageService> theMessages;

} // namespace

bool CqPlatform::fnIsComplete() const {
    return m_pMemory && m_pScratch && m_pFiles && m_pScreen && m_pMessages && m_pKeyboard &&
           m_pResources && m_pWaveOut && m_pMixers && m_pLocale && m_pWindows;
}

void q32SetMessageService(std::shared_ptr<CqMessageService> messages) {
    theMessages = std::move(messages);
}

namespace q32 {

const CqPlatform& fnPlatform() {
    fnRequireAttached("a function that needs the platform", thePlatform.has_value());
    assert(thePlatform && "the library is not attached");
    return *thePlatform;
}

bool fnHasPlatform() {
    return thePlatform.has_value();
}

void fnSetPlatform(CqPlatform platform) {
    theMessages = platform.m_pMessages;
    thePlatform = std::move(platform);
}

void fnClearPlatform() {
    thePlatform.reset();
}

std::shared_ptr<CqMessageService> fnMessageService() {
    return theMessages;
}

HINSTANCE fnModuleInstance() {
    static char mark; // only its unique address matters
    return reinterpret_cast<HINSTANCE>(&mark);
}

} // namespace q32

std::chrono::nanoseconds CqWorkService::fnGetOverhead() {
    return std::chrono::microseconds(20);
}

bool CqScreenService::fnGetIconTitleFont(LOGFONTA&) {
    return false;
}
std::unique_ptr<CqFontObject> CqScreenService::fnCreateFont(const LOGFONTA&) {
    return nullptr;
}
std::unique_ptr<CqBitmapObject> CqScreenService::fnCreateCompatibleBitmap(CDC*, int, int) {
    return nullptr;
}

UINT CqPaletteObject::fnSetEntries(UINT first, UINT count, const PALETTEENTRY* entries) {
    if (first >= m_Entries.size())
        return 0;
    const UINT taken = std::min(count, static_cast<UINT>(m_Entries.size()) - first);
    std::copy_n(entries, taken, m_Entries.begin() + first);
    return taken;
}

std::unique_ptr<CqDumpView> CqWindowService::fnCreateDumpView(const CqDumpViewSetup&,
                                                              CqDumpViewEvents&) {
    return nullptr;
}
