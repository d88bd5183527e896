#include "platforms/headless/CqHeadlessCalls.h"

#include "q32Base/framework/Memory.h"

void CqHeadlessCalls::fnFail(std::uint64_t nth, std::uint64_t times) {
    const std::lock_guard lock(m_Lock);
    m_nSkip = nth == 0 ? 0 : nth - 1;
    m_nTimes = times;
}

std::uint64_t CqHeadlessCalls::fnGetCount() const {
    const std::lock_guard lock(m_Lock);
    return m_nCount;
}

std::uint64_t CqHeadlessCalls::fnGetFailed() const {
    const std::lock_guard lock(m_Lock);
    return m_nFailed;
}

bool CqHeadlessCalls::fnPass() {
    const std::lock_guard lock(m_Lock);
    ++m_nCount;
    if (m_nTimes == 0)
        return true;
    if (m_nSkip > 0) {
        --m_nSkip;
        return true;
    }
    if (m_nTimes != kForever)
        --m_nTimes;
    ++m_nFailed;
    return false;
}

void CqHeadlessMisuses::fnAdd(std::string_view what) noexcept {
    const std::lock_guard lock(m_Lock);
    // A caller that releases something couldn't handle a failure.
    q32::fnTryMemory([&] { m_All.emplace_back(what); });
}

std::vector<std::string> CqHeadlessMisuses::fnGetAll() const {
    const std::lock_guard lock(m_Lock);
    return m_All;
}

void CqHeadlessMisuses::fnClear() {
    const std::lock_guard lock(m_Lock);
    m_All.clear();
}
