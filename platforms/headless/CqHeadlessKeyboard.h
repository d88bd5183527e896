#pragma once

#include "q32Base/platform/CqKeyboardService.h"
#include "q32Base/platform/Export.h"

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

/// A keyboard and a message queue filled by a script.
class Q32_API CqHeadlessKeyboard final : public CqKeyboardService {
public:
    /// Sets whether a key is down, as of the messages read so far, and as of now.
    void fnSetKey(int key, bool downAsRead, bool downNow);
    /// Presses the key, both as read and as of now, after `looks` more queries of the state as
    /// read.
    void fnPressAfter(int key, std::uint64_t looks);
    /// Appends a message of any kind to the queue.
    void fnPost(UINT message, WPARAM wParam) { m_Queue.push_back({message, wParam}); }

    /// The messages left in the queue, oldest first.
    const std::deque<CqKeyMessage>& fnGetQueue() const { return m_Queue; }
    /// The messages taken from it, oldest first.
    const std::vector<CqKeyMessage>& fnGetTaken() const { return m_Taken; }
    /// Number of queries of a key's state as read.
    std::uint64_t fnGetLooks() const { return m_nLooks; }

    bool fnIsKeyDown(int key) override;
    bool fnIsKeyDownNow(int key) override;
    bool fnTakeKeyMessage(CqKeyMessage& message) override;

private:
    struct State {
        bool m_bAsRead = false;
        bool m_bNow = false;
        std::uint64_t m_nPressAt = ~std::uint64_t{0}; ///< number of the query from which it is down
    };
    std::map<int, State> m_Keys;
    std::deque<CqKeyMessage> m_Queue;
    std::vector<CqKeyMessage> m_Taken;
    std::uint64_t m_nLooks = 0;
};
