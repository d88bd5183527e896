// The services before the application object exists and after it is destroyed.
#include "platforms/qt/qt.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"

#include <gtest/gtest.h>

#include <memory>
#include <QApplication>

namespace {

void fnCheckServices(const CqPlatform& platform) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(platform.m_pMessages->fnShowBox("Text", MB_YESNO, "Name"), 0);
    EXPECT_EQ(platform.m_pMessages->fnShowBox(nullptr, 0, nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Name: Text\n\n");
    EXPECT_FALSE(platform.m_pKeyboard->fnIsKeyDown(VK_ESCAPE));
    CqKeyMessage message;
    EXPECT_FALSE(platform.m_pKeyboard->fnTakeKeyMessage(message));
    EXPECT_EQ(platform.m_pScreen->fnGetDC(nullptr), nullptr);
    LOGFONTA font;
    EXPECT_FALSE(platform.m_pScreen->fnGetIconTitleFont(font));
    EXPECT_EQ(platform.m_pScreen->fnCreateFont(LOGFONTA{}), nullptr);
    EXPECT_FALSE(q32QtCanPaint());
}

TEST(QtWithoutApplication, ServicesAnswerBeforeItAndAfterIt) {
    const auto windows = q32QtWindows();
    const CqPlatform platform = q32QtPlatform(windows);
    fnCheckServices(platform);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(q32Attach(platform)); // there is no screen yet
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Insufficient memory"),
              std::string::npos);
    for (int round = 0; round < 2; ++round) {
        int argc = 1;
        char name[] = "QtNoAppTest";
        char* argv[] = {name, nullptr};
        const auto app = std::make_unique<QApplication>(argc, argv);
        ASSERT_TRUE(q32Attach(platform));
        EXPECT_TRUE(q32QtCanPaint());
        EXPECT_FALSE(platform.m_pKeyboard->fnIsKeyDown(VK_ESCAPE));
        q32Detach();
    }
    fnCheckServices(platform);
}

} // namespace
