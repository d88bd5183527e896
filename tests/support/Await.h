#pragma once

#include <chrono>
#include <thread>

/// Polls until `test` holds; false on timeout. `tick` runs before each poll but the first.
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
