#pragma once

#include <chrono>
#include <thread>

/// Looks until `test` holds; false when it takes too long. `tick` runs before each look but the
/// first.
template <typename Test, typename Tick>
bool fnAwait(Test test, Tick tick, std::chrono::milliseconds patience = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!test()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        tick();
    }
    return true;
}

template <typename Test>
bool fnAwait(Test test) {
    return fnAwait(test, [] {});
}
