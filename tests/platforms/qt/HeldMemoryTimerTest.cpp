#include "platforms/qt/HeldMemoryTimer_p.h"
#include "tests/platforms/qt/QtTestTools.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using namespace std::chrono_literals;
using q32::qt::HeldMemoryTimer;

namespace {

/// Reports that memory is held back for some more calls.
class HoldingMemory : public CqMemoryService {
public:
    void* fnReserve(std::size_t) override { return nullptr; }
    bool fnCommit(void*, std::size_t) override { return false; }
    void fnDecommit(void*, std::size_t) override {}
    bool fnRelease(void*, std::size_t) override { return false; }
    std::uint64_t fnGetPhysicalBytes() override { return 0; }
    std::chrono::milliseconds fnReleaseHeld(std::chrono::milliseconds age) override {
        EXPECT_EQ(age, 20ms);
        EXPECT_EQ(std::this_thread::get_id(), m_Thread);
        ++m_nCalls;
        return m_nCalls < m_nNeeded ? 5ms : 0ms;
    }

    std::thread::id m_Thread = std::this_thread::get_id();
    int m_nCalls = 0;
    int m_nNeeded = 3;
};

/// Processes events for a while.
void fnIdle(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

TEST(HeldMemoryTimer, ReleasesMemoryOfAnyThreadInTheApplicationsUntilNoneIsLeft) {
    const auto memory = std::make_shared<HoldingMemory>();
    const auto timer = std::make_shared<HeldMemoryTimer>(20ms);
    timer->fnWatch(memory);
    std::thread([&] {
        timer->fnStart();
        timer->fnStart(); // one timer serves both
    }).join();
    EXPECT_TRUE(fnWaitFor([&] { return memory->m_nCalls == 3; }));
    fnIdle(60ms);
    EXPECT_EQ(memory->m_nCalls, 3) << "nothing is left";
    timer->fnStart();
    EXPECT_TRUE(fnWaitFor([&] { return memory->m_nCalls == 4; })) << "it starts again";
}

TEST(HeldMemoryTimer, KeepsNoServiceAlive) {
    auto memory = std::make_shared<HoldingMemory>();
    const auto timer = std::make_shared<HeldMemoryTimer>(20ms);
    timer->fnWatch(memory);
    timer->fnStart();
    const std::weak_ptr<HoldingMemory> watched = memory;
    memory.reset();
    EXPECT_TRUE(watched.expired());
    fnIdle(60ms);
    EXPECT_EQ(timer.use_count(), 1) << "it has ended";
}

} // namespace
