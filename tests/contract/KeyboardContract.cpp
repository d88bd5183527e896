#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Await.h"

#include <chrono>
#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

namespace {

class KeyboardContract : public ContractTest {
protected:
    using Message = std::pair<UINT, WPARAM>;

    /// Polls, as an operation does, until there are `count` messages.
    std::vector<Message> fnTake(std::size_t count) {
        std::vector<Message> taken;
        fnAwait([&] {
            CqKeyMessage message;
            while (taken.size() < count && m_Keyboard.fnTakeKeyMessage(message))
                taken.emplace_back(message.m_nMessage, message.m_wParam);
            return taken.size() == count;
        });
        return taken;
    }
    /// No message arrives, however long an operation polls.
    void fnExpectNone() {
        CqKeyMessage message{4711, 42};
        for (int i = 0; i < 30; ++i) {
            EXPECT_FALSE(m_Keyboard.fnTakeKeyMessage(message));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(message.m_nMessage, 4711u);
        EXPECT_EQ(message.m_wParam, 42u);
    }
    bool fnAwaitNow(int key, bool down) {
        return fnAwait([&] { return m_Keyboard.fnIsKeyDownNow(key) == down; });
    }

    CqKeyboardService& m_Keyboard = *m_World.m_Platform.m_pKeyboard;
    ContractKeys& m_Keys = *m_World.m_pKeys;
};

TEST_P(KeyboardContract, NoKeyIsPressedByItself) {
    for (int key = 0; key < 256; ++key) {
        EXPECT_FALSE(m_Keyboard.fnIsKeyDown(key)) << key;
        EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(key)) << key;
    }
    fnExpectNone();
}

TEST_P(KeyboardContract, NumbersThatNameNoKeyAreNeverDown) {
    m_Keys.fnPress(VK_ESCAPE);
    ASSERT_TRUE(fnAwaitNow(VK_ESCAPE, true));
    for (const int key : {-1, 0, 256, VK_ESCAPE + 256, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(m_Keyboard.fnIsKeyDown(key)) << key;
        EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(key)) << key;
    }
}

TEST_P(KeyboardContract, APressedKeyIsDownUntilItIsReleased) {
    m_Keys.fnPress(VK_ESCAPE);
    EXPECT_TRUE(fnAwaitNow(VK_ESCAPE, true));
    EXPECT_EQ(fnTake(1), (std::vector<Message>{{WM_KEYDOWN, VK_ESCAPE}}));
    EXPECT_TRUE(m_Keyboard.fnIsKeyDown(VK_ESCAPE)) << "its message has been read";
    EXPECT_TRUE(m_Keyboard.fnIsKeyDownNow(VK_ESCAPE)) << "looking releases nothing";
    EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow('A'));
    m_Keys.fnRelease(VK_ESCAPE);
    EXPECT_TRUE(fnAwaitNow(VK_ESCAPE, false));
    EXPECT_EQ(fnTake(1), (std::vector<Message>{{WM_KEYUP, VK_ESCAPE}}));
    EXPECT_FALSE(m_Keyboard.fnIsKeyDown(VK_ESCAPE));
}

TEST_P(KeyboardContract, KeysAreDownIndependentlyOfEachOther) {
    m_Keys.fnPress('A');
    m_Keys.fnPress('Z');
    EXPECT_TRUE(fnAwaitNow('A', true));
    EXPECT_TRUE(fnAwaitNow('Z', true));
    EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(VK_ESCAPE));
    m_Keys.fnRelease('A');
    EXPECT_TRUE(fnAwaitNow('A', false));
    EXPECT_TRUE(m_Keyboard.fnIsKeyDownNow('Z'));
}

TEST_P(KeyboardContract, AQueuedEscIsTakenOnceThoughTheKeyIsUpAgain) {
    m_Keys.fnPress(VK_ESCAPE);
    m_Keys.fnRelease(VK_ESCAPE);
    EXPECT_EQ(fnTake(2), (std::vector<Message>{{WM_KEYDOWN, VK_ESCAPE}, {WM_KEYUP, VK_ESCAPE}}));
    fnExpectNone();
    EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(VK_ESCAPE));
}

TEST_P(KeyboardContract, MessagesAreTakenOldestFirst) {
    std::vector<Message> expected;
    for (const int key : {int{'Q'}, int{'B'}, VK_ESCAPE, int{'A'}}) {
        m_Keys.fnPress(key);
        m_Keys.fnRelease(key);
        expected.emplace_back(WM_KEYDOWN, key);
        expected.emplace_back(WM_KEYUP, key);
    }
    EXPECT_EQ(fnTake(expected.size()), expected);
    fnExpectNone();
}

TEST_P(KeyboardContract, MessagesOfTheKeyboardAreInItsRange) {
    m_Keys.fnPress('A');
    for (const auto& [message, key] : fnTake(1)) {
        EXPECT_GE(message, WM_KEYFIRST);
        EXPECT_LE(message, WM_KEYLAST);
        EXPECT_EQ(key, static_cast<WPARAM>('A'));
    }
}

TEST_P(KeyboardContract, OtherInputKeepsItsOrder) {
    m_Keys.fnClick(1);
    m_Keys.fnPress('A');
    m_Keys.fnClick(2);
    m_Keys.fnClick(3);
    m_Keys.fnPress(VK_ESCAPE);
    m_Keys.fnClick(4);
    EXPECT_EQ(fnTake(2), (std::vector<Message>{{WM_KEYDOWN, 'A'}, {WM_KEYDOWN, VK_ESCAPE}}));
    fnExpectNone();
    m_Keys.fnClick(5); // newer than the waiting message
    EXPECT_EQ(m_Keys.fnGetClicks(5), (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST_P(KeyboardContract, OtherInputAloneIsNotAKey) {
    m_Keys.fnClick(VK_ESCAPE);
    fnExpectNone();
    EXPECT_FALSE(m_Keyboard.fnIsKeyDown(VK_ESCAPE));
    EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(VK_ESCAPE));
    EXPECT_EQ(m_Keys.fnGetClicks(1), std::vector<int>{VK_ESCAPE});
}

} // namespace

Q32_CONTRACT(KeyboardContract, KEYBOARD);
