#include "tests/contract/ContractBackEnd.h"

namespace {

class KeyboardContract : public ContractTest {
protected:
    CqKeyboardService& m_Keyboard = *m_World.m_Platform.m_pKeyboard;
};

TEST_P(KeyboardContract, NobodyPressesAKeyByItself) {
    for (int key = 0; key < 256; ++key) {
        EXPECT_FALSE(m_Keyboard.fnIsKeyDown(key)) << key;
        EXPECT_FALSE(m_Keyboard.fnIsKeyDownNow(key)) << key;
    }
    CqKeyMessage message;
    EXPECT_FALSE(m_Keyboard.fnTakeKeyMessage(message));
}

} // namespace

Q32_CONTRACT(KeyboardContract, KEYBOARD);
