#include "platforms/headless/CqHeadlessKeyboard.h"

#include <algorithm>

void CqHeadlessKeyboard::fnSetKey(int key, bool downAsRead, bool downNow) {
    m_Keys[key] = State{downAsRead, downNow};
}

void CqHeadlessKeyboard::fnPressAfter(int key, std::uint64_t looks) {
    m_Keys[key].m_nPressAt = m_nLooks + looks;
}

bool CqHeadlessKeyboard::fnIsKeyDown(int key) {
    const auto found = m_Keys.find(key);
    const std::uint64_t look = m_nLooks++;
    return found != m_Keys.end() && (found->second.m_bAsRead || look >= found->second.m_nPressAt);
}

bool CqHeadlessKeyboard::fnIsKeyDownNow(int key) {
    const auto found = m_Keys.find(key);
    return found != m_Keys.end() && (found->second.m_bNow || m_nLooks > found->second.m_nPressAt);
}

bool CqHeadlessKeyboard::fnTakeKeyMessage(CqKeyMessage& message) {
    const auto found = std::find_if(m_Queue.begin(), m_Queue.end(), [](const CqKeyMessage& queued) {
        return queued.m_nMessage >= WM_KEYFIRST && queued.m_nMessage <= WM_KEYLAST;
    });
    if (found == m_Queue.end())
        return false;
    message = *found;
    m_Taken.push_back(message);
    m_Queue.erase(found);
    return true;
}
