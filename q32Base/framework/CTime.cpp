#include "q32Base/framework/CTime.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

bool CTime::GetAsSystemTime(SYSTEMTIME& time) const {
    return q32::fnGuardMemory(
        [&] { return m_nTime >= 0 && q32::fnPlatform().m_pLocale->fnGetLocalTime(m_nTime, time); });
}
