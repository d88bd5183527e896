#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

namespace {

class Host : public ::testing::Test {
protected:
    ~Host() override { q32SetMessageService(nullptr); }

    /// Runs `work`, and returns the text of the only box that it caused; "none" for none.
    std::string fnBoxOf(const std::function<int()>& work, int code) {
        EXPECT_EQ(q32RunHost(m_World->fnPlatform(), work), code);
        EXPECT_FALSE(q32::fnHasPlatform());
        const auto& boxes = m_World->m_pMessages->fnGetBoxes();
        EXPECT_LE(boxes.size(), 1u);
        return boxes.empty() ? "none" : boxes.back().m_szText;
    }

    std::shared_ptr<CqHeadlessWorld> m_World = q32HeadlessWorld();
};

const std::string kNoMemory =
    "Insufficient memory. Please close other programs\nto free up system resources.";

} // namespace

TEST_F(Host, WorkRunsWhileTheLibraryIsAttachedAndItsResultIsTheHosts) {
    bool attached = false;
    EXPECT_EQ(fnBoxOf(
                  [&] {
                      attached = q32::fnHasPlatform() && q32GetVMPolicy();
                      return 7;
                  },
                  7),
              "none");
    EXPECT_TRUE(attached);
}

TEST_F(Host, WithoutACompletePlatformNothingRuns) {
    bool ran = false;
    EXPECT_EQ(q32RunHost(CqPlatform(),
                         [&] {
                             ran = true;
                             return 0;
                         }),
              EXIT_FAILURE);
    EXPECT_FALSE(ran);
}

TEST_F(Host, AMemoryExceptionThatNobodyCatchesIsShown) {
    // A negative size is one that no image can have.
    EXPECT_EQ(fnBoxOf([] { return CqImage(-1, 1, 24).TileMap ? 0 : 1; }, EXIT_FAILURE), kNoMemory);
}

TEST_F(Host, StandardExceptionsThatNobodyCatchesAreShown) {
    EXPECT_EQ(fnBoxOf([]() -> int { throw std::bad_alloc(); }, EXIT_FAILURE), kNoMemory);
    EXPECT_EQ(q32RunHost(m_World->fnPlatform(), []() -> int { throw std::runtime_error("torn"); }),
              EXIT_FAILURE);
    EXPECT_EQ(m_World->m_pMessages->fnGetBoxes().back().m_szText, "torn");
}

TEST_F(Host, AFileExceptionThatNobodyCatchesNamesTheFile) {
    EXPECT_EQ(fnBoxOf([] { return CFile("C:\\none", CFile::modeRead).GetLength() ? 0 : 1; },
                      EXIT_FAILURE),
              "The file [C:\\none] cannot be used: it does not exist.");
}

TEST_F(Host, WhereNoBoxCanBeShownTheErrorStreamGetsTheText) {
    m_World->m_pMessages->fnAnswer(0);
    m_World->m_pMessages->fnAnswer(0);
    testing::internal::CaptureStderr();
    q32RunHost(m_World->fnPlatform(), []() -> int { throw std::runtime_error("torn"); });
    q32RunHost(m_World->fnPlatform(), []() -> int { AfxThrowMemoryException(); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "torn\nOut of memory.\n");
}

TEST_F(Host, OtherExceptionsPassThroughAfterTheDetach) {
    EXPECT_THROW(q32RunHost(m_World->fnPlatform(), []() -> int { throw 5; }), int);
    EXPECT_FALSE(q32::fnHasPlatform());
}

TEST_F(Host, TheMemoryLimitIsHalfOfTheMachineUnlessTheHostNamesOne) {
    m_World->m_pMemory->fnSetPhysicalBytes(std::uint64_t{20} << 30);
    q32RunHost(m_World->fnPlatform(), [] {
        const CqVMPolicy& policy = *q32GetVMPolicy();
        EXPECT_LT(policy.fnGetRamLimit(), 50'000'000u) << "what the settings alone give";
        const std::uint64_t half = (std::uint64_t{20} << 30) / 100 * 50;
        EXPECT_EQ(q32SetMemoryLimit(), half);
        EXPECT_EQ(policy.fnGetRamBound(), half);
        EXPECT_EQ(q32SetMemoryLimit(1'000'000), 1'000'000u);
        EXPECT_EQ(policy.fnGetRamBound(), 1'000'000u);
        EXPECT_EQ(policy.fnGetRamLimit(), 1'000'000u);
        return 0;
    });
}

TEST_F(Host, TheMemoryLimitIsTheUsersPercentageIfThatIsEnabled) {
    m_World->m_pMemory->fnSetPhysicalBytes(1'000'000'000);
    m_World->fnSetSettings("[VMPolicy]\r\nMemPercent=30\r\nMemEnabled=1\r\n");
    q32RunHost(m_World->fnPlatform(), [] {
        EXPECT_EQ(q32SetMemoryLimit(), 300'000'000u);
        return 0;
    });
}

TEST_F(Host, TheMemoryLimitNeverExceedsThatOfThePlatform) {
    class Bounded : public CqMemoryService {
    public:
        explicit Bounded(std::shared_ptr<CqMemoryService> other) : m_pOther(std::move(other)) {}
        void* fnReserve(std::size_t size) override { return m_pOther->fnReserve(size); }
        bool fnCommit(void* at, std::size_t size) override { return m_pOther->fnCommit(at, size); }
        void fnDecommit(void* at, std::size_t size) override { m_pOther->fnDecommit(at, size); }
        bool fnRelease(void* at, std::size_t size) override {
            return m_pOther->fnRelease(at, size);
        }
        std::uint64_t fnGetPhysicalBytes() override { return 1'000'000'000; }
        std::uint64_t fnGetBlockLimit() override { return 200'000'000; }

    private:
        std::shared_ptr<CqMemoryService> m_pOther;
    };
    CqPlatform platform = m_World->fnPlatform();
    platform.m_pMemory = std::make_shared<Bounded>(platform.m_pMemory);
    q32RunHost(platform, [] {
        EXPECT_EQ(q32SetMemoryLimit(), 200'000'000u);
        return 0;
    });
}

TEST_F(Host, WithoutAnAttachedLibraryThereIsNoLimitToSet) {
    EXPECT_EQ(q32SetMemoryLimit(5), 0u);
}

TEST(Version, ItIsThatOfTheProjectAndNeedsNoAttach) {
    EXPECT_STREQ(q32Version(), Q32_TEST_VERSION);
    const std::string version = q32Version();
    DLLVERSIONINFO info{};
    info.cbSize = sizeof info;
    q32RunHost(q32HeadlessPlatform(), [&] { return static_cast<int>(DllGetVersion(&info)); });
    EXPECT_EQ(std::to_string(info.dwMajorVersion >> 16) + '.' +
                  std::to_string(info.dwMajorVersion & 0xFFFF) + '.' +
                  std::to_string(info.dwMinorVersion >> 16),
              version)
        << "the version resource is made from the same number";
}
