#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr auto kNoVersion = static_cast<HRESULT>(0x80004005u);
const std::string kOutOfMemory =
    "Insufficient memory. Please close other programs\nto free up system resources.";

class Module : public ::testing::Test {
protected:
    ~Module() override {
        q32Detach();
        q32SetMessageService(nullptr);
    }
    bool fnAttach() { return q32Attach(m_World->fnPlatform()); }

    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
};

/// A version resource of `size` bytes with that product version.
std::string fnVersion(std::size_t size, std::uint32_t high, std::uint32_t low) {
    std::string bytes(64, '\x77');
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[56 + i] = static_cast<char>(high >> (8 * i));
        bytes[60 + i] = static_cast<char>(low >> (8 * i));
    }
    bytes.resize(size, '\x77');
    return bytes;
}

/// A version record followed by other bytes.
struct GuardedVersion {
    DLLVERSIONINFO m_Info;
    std::uint32_t m_Behind[4];
    explicit GuardedVersion(DWORD size) {
        std::memset(static_cast<void*>(this), 0xAA, sizeof(*this));
        m_Info.cbSize = size;
    }
};
constexpr std::uint32_t kUntouched = 0xAAAAAAAAu;

} // namespace

TEST_F(Module, AnAttachCreatesBothSingletonsAndADetachDestroysThem) {
    ASSERT_TRUE(fnAttach());
    EXPECT_TRUE(q32::fnHasPlatform());
    ASSERT_NE(q32GetVMPolicy(), nullptr);
    ASSERT_NE(q32GetDisplayProperty(), nullptr);
    q32Detach();
    EXPECT_FALSE(q32::fnHasPlatform());
}

TEST_F(Module, AMissingSettingsFileLeavesTheDefaults) {
    ASSERT_TRUE(fnAttach());
    EXPECT_EQ(m_World->fnGetSettings(), std::nullopt) << "and none is made";
    EXPECT_EQ(q32GetVMPolicy()->fnGetMemUsage(), 100u);
    EXPECT_FALSE(q32GetVMPolicy()->fnIsMemEnabled());
    EXPECT_TRUE(q32GetVMPolicy()->fnIsDiskEnabled(0));
    EXPECT_FALSE(q32GetVMPolicy()->fnIsDiskEnabled(1));
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamLimit(), 10737418u) << "256 MiB x 100, wrapped, / 100";
    EXPECT_TRUE(q32GetDisplayProperty()->fnIsGammaEnabled());
    EXPECT_EQ(q32GetDisplayProperty()->fnGetGammaValue(), 180u);
    EXPECT_TRUE(q32GetDisplayProperty()->fnIsHiColorDitherEnabled());
}

TEST_F(Module, AnAttachReadsBothSectionsOfTheSettings) {
    m_World->fnSetSettings("[VMPolicy]\r\nMemPercent=50\r\nMemEnabled=1\r\n"
                           "[DispProp]\r\nDitherHC=0\r\nGammaVal=220\r\n");
    ASSERT_TRUE(fnAttach());
    EXPECT_EQ(q32GetVMPolicy()->fnGetMemUsage(), 50u);
    EXPECT_TRUE(q32GetVMPolicy()->fnIsMemEnabled());
    EXPECT_FALSE(q32GetDisplayProperty()->fnIsHiColorDitherEnabled());
    EXPECT_EQ(q32GetDisplayProperty()->fnGetGammaValue(), 220u);
}

TEST_F(Module, AnUnreadableSettingsFileDoesNotPreventTheAttach) {
    m_World->fnSetSettings("[VMPolicy]\r\nMemPercent=50\r\n");
    m_World->m_pFiles->m_ReadText.fnFail(1, CqHeadlessCalls::kForever);
    ASSERT_TRUE(fnAttach());
    EXPECT_EQ(q32GetVMPolicy()->fnGetMemUsage(), 100u);
    EXPECT_TRUE(m_World->m_pMessages->fnGetBoxes().empty());
}

TEST_F(Module, TheLibraryWritesNothingByItself) {
    m_World->fnSetSettings("[VMPolicy]\r\nMemPercent=50\r\n");
    ASSERT_TRUE(fnAttach());
    q32GetVMPolicy()->fnSetMemUsage(70);
    q32Detach();
    EXPECT_EQ(m_World->fnGetSettings(), "[VMPolicy]\r\nMemPercent=50\r\n");
}

TEST_F(Module, ASecondAttachIsRefusedAndChangesNothing) {
    ASSERT_TRUE(fnAttach());
    const auto* policy = q32GetVMPolicy();
    const auto other = q32HeadlessWorld();
    EXPECT_FALSE(q32Attach(other->fnPlatform()));
    EXPECT_EQ(q32GetVMPolicy(), policy);
    EXPECT_EQ(q32::fnMessageService(), m_World->m_pMessages);
    q32Detach();
    EXPECT_TRUE(q32Attach(other->fnPlatform())) << "after a detach it is welcome";
}

TEST_F(Module, AnIncompletePlatformIsRefused) {
    const auto refuses = [this](auto service) {
        CqPlatform platform = m_World->fnPlatform();
        (platform.*service).reset();
        EXPECT_FALSE(q32Attach(platform));
        EXPECT_FALSE(q32::fnHasPlatform());
        EXPECT_EQ(q32::fnMessageService(), nullptr);
    };
    refuses(&CqPlatform::m_pMemory);
    refuses(&CqPlatform::m_pScratch);
    refuses(&CqPlatform::m_pFiles);
    refuses(&CqPlatform::m_pScreen);
    refuses(&CqPlatform::m_pMessages);
    refuses(&CqPlatform::m_pKeyboard);
    refuses(&CqPlatform::m_pResources);
    refuses(&CqPlatform::m_pWaveOut);
    refuses(&CqPlatform::m_pMixers);
    refuses(&CqPlatform::m_pLocale);
    refuses(&CqPlatform::m_pWindows);
    EXPECT_FALSE(q32Attach(CqPlatform()));
}

TEST_F(Module, WithoutMemoryForTheDisplayTheAttachFailsWithOneMessage) {
    m_World->m_pScreen->m_GetDC.fnFail();
    EXPECT_FALSE(fnAttach());
    EXPECT_EQ(m_World->m_pFiles->m_GetTempDirectory.fnGetCount(), 1u) << "the policy came first";
    ASSERT_EQ(m_World->m_pMessages->fnGetBoxes().size(), 1u);
    const auto box = m_World->m_pMessages->fnGetBoxes()[0];
    EXPECT_EQ(box.m_szText, kOutOfMemory);
    EXPECT_EQ(box.m_nStyle, MB_ICONHAND);
    EXPECT_EQ(box.m_Caption, std::nullopt);
    EXPECT_FALSE(q32::fnHasPlatform());
    EXPECT_EQ(q32GetVMPolicy(), nullptr);
    EXPECT_EQ(q32GetDisplayProperty(), nullptr);
    EXPECT_TRUE(fnAttach()) << "and may be tried again";
}

TEST_F(Module, EachAllocationOfAnAttachMayFail) {
    m_World->fnSetSettings("[VMPolicy]\r\nScratchPath1=C:\\one\r\nScratchPath2=C:\\two\r\n"
                           "[DispProp]\r\nDitherHC=0\r\nGammaFlag=1\r\nGammaVal=220\r\n");
    ASSERT_TRUE(fnAttach()); // creates what lives as long as the library
    q32Detach();
    std::size_t refused = 0;
    const auto failed = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const auto boxes = m_World->m_pMessages->fnGetBoxes().size();
        const bool attached = fnAttach();
        const bool happened = failure.fnHappened();
        failure.fnEnd();
        EXPECT_TRUE(attached || happened);
        EXPECT_EQ(q32::fnHasPlatform(), attached);
        EXPECT_EQ(q32GetVMPolicy() != nullptr, attached);
        EXPECT_EQ(m_World->m_pMessages->fnGetBoxes().size(), boxes + (attached ? 0 : 1));
        if (attached)
            EXPECT_EQ(q32GetVMPolicy()->fnGetRamLimit(), 10737418u)
                << "a settings file that can't be read for lack of memory has no keys";
        else
            ++refused;
        q32Detach();
    });
    EXPECT_GE(refused, 2u) << "the two objects at least";
    EXPECT_GT(failed, refused);
}

TEST_F(Module, ABoxOfAFailedAttachMayTryToStartAndStop) {
    m_World->m_pScreen->m_GetDC.fnFail();
    m_World->m_pMessages->m_OnBox = [this](const CqHeadlessBox&) {
        EXPECT_FALSE(fnAttach());
        q32Detach();
    };
    EXPECT_FALSE(fnAttach());
    EXPECT_EQ(q32GetVMPolicy(), nullptr);
}

TEST_F(Module, ADetachWithoutAnAttachDoesNothing) {
    q32Detach();
    ASSERT_TRUE(fnAttach());
    q32Detach();
    q32Detach();
    EXPECT_FALSE(q32::fnHasPlatform());
}

TEST_F(Module, TheAccessorsStayValidAfterADetachUntilTheNextAttachBegins) {
    ASSERT_TRUE(fnAttach());
    const auto policy = reinterpret_cast<std::uintptr_t>(q32GetVMPolicy());
    const auto display = reinterpret_cast<std::uintptr_t>(q32GetDisplayProperty());
    q32Detach();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(q32GetVMPolicy()), policy);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(q32GetDisplayProperty()), display);
    m_World->m_pScreen->m_GetDC.fnFail();
    EXPECT_FALSE(fnAttach());
    EXPECT_EQ(q32GetVMPolicy(), nullptr);
    EXPECT_EQ(q32GetDisplayProperty(), nullptr) << "nothing of a former run is left";
}

TEST_F(Module, MessagesAreShownAfterADetach) {
    ASSERT_TRUE(fnAttach());
    q32Detach();
    EXPECT_EQ(q32ShowMsg(-1, nullptr, nullptr, nullptr, 0), IDOK);
    ASSERT_EQ(m_World->m_pMessages->fnGetBoxes().size(), 1u);
}

TEST_F(Module, ReportsTheVersionOfThisBuild) {
    ASSERT_TRUE(fnAttach());
    GuardedVersion version(20);
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Info.cbSize, 0u);
    EXPECT_EQ(version.m_Info.dwMajorVersion, 0x00010000u);
    EXPECT_EQ(version.m_Info.dwMinorVersion, 0u);
    EXPECT_EQ(version.m_Info.dwBuildNumber, 0u);
    EXPECT_EQ(version.m_Info.dwPlatformID, 1u);
    EXPECT_EQ(version.m_Behind[0], kUntouched);
}

TEST_F(Module, VersionHalvesAreNotSplitAndComeFromTheLibrarysOwnModule) {
    ASSERT_TRUE(fnAttach());
    auto& resources = *m_World->m_pResources;
    resources.fnAdd(resources.fnGetHostModule(), RT_VERSION_ID, WORD{1}, fnVersion(200, 9, 9));
    resources.fnAdd(resources.fnGetLibraryModule(), RT_VERSION_ID, WORD{1},
                    fnVersion(200, 0x00020003u, 0x80050006u));
    GuardedVersion version(20);
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Info.dwMajorVersion, 0x00020003u);
    EXPECT_EQ(version.m_Info.dwMinorVersion, 0x80050006u);
}

TEST_F(Module, AVersionRecordOfDeclaredSizeZeroIsStillFilled) {
    ASSERT_TRUE(fnAttach());
    GuardedVersion version(0);
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Info.cbSize, 0u);
    EXPECT_EQ(version.m_Info.dwMajorVersion, 0x00010000u);
    EXPECT_EQ(version.m_Info.dwMinorVersion, 0u);
    EXPECT_EQ(version.m_Info.dwBuildNumber, kUntouched) << "only zeroing reaches it";
    EXPECT_EQ(version.m_Info.dwPlatformID, 1u);
}

TEST_F(Module, AVersionRecordDeclaredBelow20BytesIsWrittenPastItsSize) {
    ASSERT_TRUE(fnAttach());
    GuardedVersion version(8);
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Info.cbSize, 0u);
    EXPECT_EQ(version.m_Info.dwMinorVersion, 0u);
    EXPECT_EQ(version.m_Info.dwPlatformID, 1u);
    EXPECT_EQ(version.m_Behind[0], kUntouched);
}

TEST_F(Module, ALargerVersionRecordIsZeroedCompletely) {
    ASSERT_TRUE(fnAttach());
    GuardedVersion version(28);
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Behind[0], 0u);
    EXPECT_EQ(version.m_Behind[1], 0u);
    EXPECT_EQ(version.m_Behind[2], kUntouched);
}

TEST_F(Module, WithoutAVersionTheCallFailsAndLeavesTheRecord) {
    GuardedVersion version(20);
    EXPECT_EQ(DllGetVersion(&version.m_Info), kNoVersion) << "before the attach";
    ASSERT_TRUE(fnAttach());
    EXPECT_EQ(DllGetVersion(nullptr), kNoVersion);
    auto& resources = *m_World->m_pResources;
    resources.m_Find.fnFail();
    EXPECT_EQ(DllGetVersion(&version.m_Info), kNoVersion);
    resources.fnAdd(resources.fnGetLibraryModule(), RT_VERSION_ID, WORD{1}, fnVersion(63, 1, 1));
    EXPECT_EQ(DllGetVersion(&version.m_Info), kNoVersion) << "one byte short";
    resources.fnRemove(resources.fnGetLibraryModule(), RT_VERSION_ID, WORD{1});
    EXPECT_EQ(DllGetVersion(&version.m_Info), kNoVersion);
    EXPECT_EQ(version.m_Info.cbSize, 20u);
    EXPECT_EQ(version.m_Info.dwMajorVersion, kUntouched);
    resources.fnAdd(resources.fnGetLibraryModule(), RT_VERSION_ID, WORD{1}, fnVersion(64, 1, 2));
    EXPECT_EQ(DllGetVersion(&version.m_Info), 0);
    EXPECT_EQ(version.m_Info.dwMinorVersion, 2u);
}
