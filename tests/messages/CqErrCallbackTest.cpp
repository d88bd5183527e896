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

    int fnId() const { return m_nMsgId; }
    HINSTANCE fnModule() const { return m_hInstance; }
    std::string fnFirst() const { return m_szArg1; }
    std::string fnSecond() const { return m_szArg2; }
    int m_nCalls = 0;
};

const HINSTANCE kModule = reinterpret_cast<HINSTANCE>(0x70000);

} // namespace

TEST(CqErrCallback, ADefaultObjectHasNoMessage) {
    const Callback callback;
    EXPECT_FALSE(callback.fnGotMsg());
    EXPECT_EQ(callback.fnId(), 0);
    EXPECT_EQ(callback.fnModule(), nullptr);
    EXPECT_EQ(callback.fnFirst(), "");
    EXPECT_EQ(callback.fnSecond(), "");
}

TEST(CqErrCallback, KeepsItsConstructorArguments) {
    const Callback callback(-8, kModule, "a.bmp", "b.bmp");
    EXPECT_TRUE(callback.fnGotMsg());
    EXPECT_EQ(callback.fnId(), -8);
    EXPECT_EQ(callback.fnModule(), kModule);
    EXPECT_EQ(callback.fnFirst(), "a.bmp");
    EXPECT_EQ(callback.fnSecond(), "b.bmp");
}

TEST(CqErrCallback, ANullTextStaysEmpty) {
    const Callback callback(5, nullptr, nullptr, "b");
    EXPECT_EQ(callback.fnFirst(), "");
    EXPECT_EQ(callback.fnSecond(), "b");
}

TEST(CqErrCallback, TextsAreTruncatedTo260Bytes) {
    const Callback callback(5, nullptr, std::string(260, 'a').c_str(),
                            std::string(300, 'b').c_str());
    EXPECT_EQ(callback.fnFirst(), std::string(260, 'a'));
    EXPECT_EQ(callback.fnSecond(), std::string(260, 'b'));
}

TEST(CqErrCallback, TruncationSplitsNoCharacter) {
    CqFakeWorld world;
    world.m_pLocale->m_bDoubleByte = true;
    const std::string text = std::string(259, 'a') + "\x83\x5c" + "b";
    const Callback callback(5, nullptr, text.c_str(), text.c_str() + 1);
    EXPECT_EQ(callback.fnFirst(), std::string(259, 'a'));
    EXPECT_EQ(callback.fnSecond(), std::string(258, 'a') + "\x83\x5c");
}

TEST(CqErrCallback, AnAssignedEmptyTextLeavesTheOldOne) {
    Callback target(1, kModule, "old first", "old second");
    const Callback source(2, nullptr, "", "new");
    target = source;
    EXPECT_EQ(target.fnId(), 2);
    EXPECT_EQ(target.fnModule(), nullptr);
    EXPECT_EQ(target.fnFirst(), "old first");
    EXPECT_EQ(target.fnSecond(), "new");
}

TEST(CqErrCallback, AnAssignedTextReplacesALongerOneCompletely) {
    Callback target(1, kModule, "a long text", "x");
    target = Callback(1, kModule, "b", "y");
    EXPECT_EQ(target.fnFirst(), "b");
    EXPECT_EQ(target.fnSecond(), "y");
}

TEST(CqErrCallback, ACopyIsComplete) {
    const Callback source(3, kModule, "first", nullptr);
    const Callback copy(source);
    EXPECT_EQ(copy.fnId(), 3);
    EXPECT_EQ(copy.fnModule(), kModule);
    EXPECT_EQ(copy.fnFirst(), "first");
    EXPECT_EQ(copy.fnSecond(), "");
}

TEST(CqErrCallback, SelfAssignmentChangesNothing) {
    Callback callback(3, kModule, "first", "second");
    const Callback& same = callback;
    callback = same;
    EXPECT_EQ(callback.fnFirst(), "first");
    EXPECT_EQ(callback.fnSecond(), "second");
}

TEST(CqErrCallback, TheHostCallsItsOwnBody) {
    Callback callback(1, nullptr, nullptr, nullptr);
    CqErrCallback& base = callback;
    base.fnOnMessage();
    EXPECT_EQ(callback.m_nCalls, 1);
}
