#include "q32Base/messages/CqErrCallback.h"

#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Callback : public CqErrCallback {
public:
    using CqErrCallback::CqErrCallback;
    Callback() = default;
    void fnOnMessage() override { ++m_nCalls; }

    int fnGetId() const { return m_nMsgId; }
    HINSTANCE fnGetModule() const { return m_hInstance; }
    std::string fnGetFirst() const { return m_szArg1; }
    std::string fnGetSecond() const { return m_szArg2; }
    int m_nCalls = 0;
};

const HINSTANCE kModule = reinterpret_cast<HINSTANCE>(0x70000);

} // namespace

TEST(CqErrCallback, ADefaultObjectHasNoMessage) {
    const Callback callback;
    EXPECT_FALSE(callback.fnGotMsg());
    EXPECT_EQ(callback.fnGetId(), 0);
    EXPECT_EQ(callback.fnGetModule(), nullptr);
    EXPECT_EQ(callback.fnGetFirst(), "");
    EXPECT_EQ(callback.fnGetSecond(), "");
}

TEST(CqErrCallback, KeepsItsConstructorArguments) {
    const Callback callback(-8, kModule, "a.bmp", "b.bmp");
    EXPECT_TRUE(callback.fnGotMsg());
    EXPECT_EQ(callback.fnGetId(), -8);
    EXPECT_EQ(callback.fnGetModule(), kModule);
    EXPECT_EQ(callback.fnGetFirst(), "a.bmp");
    EXPECT_EQ(callback.fnGetSecond(), "b.bmp");
}

TEST(CqErrCallback, ANullTextStaysEmpty) {
    const Callback callback(5, nullptr, nullptr, "b");
    EXPECT_EQ(callback.fnGetFirst(), "");
    EXPECT_EQ(callback.fnGetSecond(), "b");
}

TEST(CqErrCallback, TextsAreTruncatedTo260Bytes) {
    const Callback callback(5, nullptr, std::string(260, 'a').c_str(),
                            std::string(300, 'b').c_str());
    EXPECT_EQ(callback.fnGetFirst(), std::string(260, 'a'));
    EXPECT_EQ(callback.fnGetSecond(), std::string(260, 'b'));
}

TEST(CqErrCallback, TruncationSplitsNoCharacter) {
    CqFakeWorld world;
    world.m_pLocale->m_bDoubleByte = true;
    const std::string text = std::string(259, 'a') + "\x83\x5c" + "b";
    const Callback callback(5, nullptr, text.c_str(), text.c_str() + 1);
    EXPECT_EQ(callback.fnGetFirst(), std::string(259, 'a'));
    EXPECT_EQ(callback.fnGetSecond(), std::string(258, 'a') + "\x83\x5c");
}

TEST(CqErrCallback, AnAssignedEmptyTextLeavesTheOldOne) {
    Callback target(1, kModule, "old first", "old second");
    const Callback source(2, nullptr, "", "new");
    target = source;
    EXPECT_EQ(target.fnGetId(), 2);
    EXPECT_EQ(target.fnGetModule(), nullptr);
    EXPECT_EQ(target.fnGetFirst(), "old first");
    EXPECT_EQ(target.fnGetSecond(), "new");
}

TEST(CqErrCallback, AnAssignedTextReplacesALongerOneCompletely) {
    Callback target(1, kModule, "a long text", "x");
    target = Callback(1, kModule, "b", "y");
    EXPECT_EQ(target.fnGetFirst(), "b");
    EXPECT_EQ(target.fnGetSecond(), "y");
}

TEST(CqErrCallback, ACopyIsComplete) {
    const Callback source(3, kModule, "first", nullptr);
    const Callback copy(source);
    EXPECT_EQ(copy.fnGetId(), 3);
    EXPECT_EQ(copy.fnGetModule(), kModule);
    EXPECT_EQ(copy.fnGetFirst(), "first");
    EXPECT_EQ(copy.fnGetSecond(), "");
}

TEST(CqErrCallback, SelfAssignmentChangesNothing) {
    Callback callback(3, kModule, "first", "second");
    const Callback& same = callback;
    callback = same;
    EXPECT_EQ(callback.fnGetFirst(), "first");
    EXPECT_EQ(callback.fnGetSecond(), "second");
}

TEST(CqErrCallback, TheHostCallsItsOwnBody) {
    Callback callback(1, nullptr, nullptr, nullptr);
    CqErrCallback& base = callback;
    base.fnOnMessage();
    EXPECT_EQ(callback.m_nCalls, 1);
}
