#include "platforms/headless/headless.h"
#include "platforms/posix/posix.h"
#include "platforms/software/software.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

std::string fnText(CqMessageService& messages, DWORD code) {
    std::string text = "(none)";
    return messages.fnFormatError(code, text) ? text : "(none)";
}

} // namespace

TEST(PosixMessages, TheLastErrorIsThatOfTheSystem) {
    CqPosixOptions options;
    options.m_szLocale = "C";
    const CqPlatform platform = q32PosixPlatform(options);
    CqFileInfo info;
    EXPECT_FALSE(platform.m_pFiles->fnGetInfo("/var/tmp/q32\\missing", false, info));
    EXPECT_EQ(platform.m_pMessages->fnGetLastError(), static_cast<DWORD>(ENOENT));
    EXPECT_EQ(fnText(*platform.m_pMessages, ENOENT), "No such file or directory");
    EXPECT_EQ(fnText(*platform.m_pMessages, 0), "(none)");
    EXPECT_EQ(fnText(*platform.m_pMessages, 100000), "(none)");
    EXPECT_EQ(fnText(*platform.m_pMessages, 0xFFFFFFFFu), "(none)");
}

TEST(PosixMessages, BoxesAreForwardedToTheOtherWorld) {
    CqPosixOptions options;
    const auto world = q32HeadlessWorld();
    options.m_Others = world->fnPlatform();
    const CqPlatform platform = q32PosixPlatform(options);
    platform.m_pMessages->fnShowBox("Disk full", 0, "Gallery");
    ASSERT_EQ(world->m_pMessages->fnGetBoxes().size(), 1u);
    EXPECT_EQ(world->m_pMessages->fnGetBoxes()[0].m_szText, "Disk full");
}

// The two tests below read the stream itself: gtest captures what is written to the descriptor.
TEST(PosixMessages, WithoutADesktopABoxIsALineOfTheErrorStream) {
    const CqPlatform platform = q32PosixPlatform();
    testing::internal::CaptureStderr();
    errno = ENOENT;
    EXPECT_EQ(platform.m_pMessages->fnShowBox("Unable to open\nthe file.", MB_ICONHAND, nullptr),
              IDOK);
    EXPECT_EQ(platform.m_pMessages->fnShowBox("Overwrite?", MB_YESNO, "Gallery"), IDYES);
    EXPECT_EQ(platform.m_pMessages->fnShowBox("Save?", MB_YESNOCANCEL, ""), IDYES);
    EXPECT_EQ(platform.m_pMessages->fnShowBox("a\x1b[2J\tb\x7f", MB_OKCANCEL, nullptr), IDOK);
    const DWORD error = platform.m_pMessages->fnGetLastError();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said, "Unable to open the file.\nGallery: Overwrite? (Yes)\nSave? (Yes)\na?[2J?b?\n");
    EXPECT_EQ(error, static_cast<DWORD>(ENOENT)) << "the error stays the one that the box tells of";
}

TEST(PosixMessages, ALongTextIsWrittenCompletely) {
    const std::string text(5000, 'x');
    CqPosixOptions options;
    options.m_bSystemErrors = false;
    const CqPlatform platform = q32PosixPlatform(options);
    testing::internal::CaptureStderr();
    platform.m_pMessages->fnShowBox(text.c_str(), MB_OK, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), text + '\n');
    std::string none = "as it was";
    EXPECT_EQ(platform.m_pMessages->fnGetLastError(), 0u);
    EXPECT_FALSE(platform.m_pMessages->fnFormatError(2, none));
}

TEST(PosixMessages, AHostThatWantsSilenceProvidesTheSoftwareService) {
    CqPosixOptions options;
    options.m_Others.m_pMessages = q32SoftwareServices().m_pMessages;
    testing::internal::CaptureStderr();
    EXPECT_EQ(q32PosixPlatform(options).m_pMessages->fnShowBox("a", MB_YESNO, nullptr), IDYES);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(PosixMessages, AHostMayUseTheOtherWorldsErrors) {
    CqPosixOptions options;
    const auto world = q32HeadlessWorld();
    options.m_Others = world->fnPlatform();
    options.m_bSystemErrors = false;
    EXPECT_EQ(q32PosixPlatform(options).m_pMessages, world->m_pMessages);
}

TEST(PosixPlatform, ItIsComplete) {
    EXPECT_TRUE(q32PosixPlatform().fnIsComplete());
}

TEST(PosixPlatform, AServiceThatTheHostDoesNotProvideIsTheSoftwareOne) {
    CqPosixOptions options;
    options.m_Others.m_pScreen = q32HeadlessWorld()->m_pScreen;
    const CqPlatform platform = q32PosixPlatform(options);
    EXPECT_TRUE(platform.fnIsComplete());
    EXPECT_EQ(platform.m_pScreen, options.m_Others.m_pScreen);
    EXPECT_EQ(platform.m_pMessages->fnShowBox("Disk full", MB_YESNO, nullptr), IDYES);
    EXPECT_EQ(platform.m_pMixers->fnGetCount(), 0u);
}

TEST(PosixPlatform, TheOtherServicesComeFromTheHostsWorld) {
    CqPosixOptions options;
    const auto world = q32HeadlessWorld();
    options.m_Others = world->fnPlatform();
    const CqPlatform platform = q32PosixPlatform(options);
    EXPECT_EQ(platform.m_pScreen, world->m_pScreen);
    EXPECT_EQ(platform.m_pWaveOut, world->m_pWaveOut);
    EXPECT_NE(platform.m_pFiles, world->m_pFiles);
    EXPECT_NE(platform.m_pLocale, world->m_pLocale);
}
