#pragma once

#include "q32Base/platform/CqKeyboardService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

/// A keyboard and a message queue that the script fills.
class Q32_API CqHeadlessKeyboard final : public CqKeyboardService {
public:
    /// Whether a key is down, as far as its messages have been read, and as of now.
    void fnSetKey(int key, bool downAsRead, bool downNow);
    /// The key goes down, both as read and as of now, when the keyboard has been looked at `looks`
    /// times more: the state as read counts as a look.
    void fnPressAfter(int key, std::uint64_t looks);
    /// Puts a message of any kind at the end of the queue.
    void fnPost(UINT message, WPARAM wParam) { m_Queue.push_back({message, wParam}); }

    /// What is left in the queue, oldest first.
    const std::deque<CqKeyMessage>& fnGetQueue() const { return m_Queue; }
    /// What was taken out of it, oldest first.
    const std::vector<CqKeyMessage>& fnGetTaken() const { return m_Taken; }
    /// Times that a key's state as read was asked for.
    std::uint64_t fnGetLooks() const { return m_nLooks; }

    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    struct State {
        bool m_bAsRead = false;
        bool m_bNow = false;
        std::uint64_t m_nPressAt = ~std::uint64_t{0}; ///< look that finds it down
    };
    std::map<int, State> m_Keys;
    std::deque<CqKeyMessage> m_Queue;
    std::vector<CqKeyMessage> m_Taken;
    std::uint64_t m_nLooks = 0;
};
