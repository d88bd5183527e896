#include "tests/support/FailingCalls_p.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace q32::test {

namespace {

#define Q32_ERRORS(name, ...) constexpr int kErrors_##name[] = {__VA_ARGS__};
Q32_CALLS(Q32_ERRORS)
#undef Q32_ERRORS

#define Q32_ROW(name, ...) FailingFunction{#name, CALL_##name <= CALL_realloc, kErrors_##name},
constexpr FailingFunction kFunctions[] = {Q32_CALLS(Q32_ROW)};
#undef Q32_ROW

/// What a section has ordered and seen.
struct Section {
    bool m_bArmed;
    bool m_bAll;
    bool m_bHappened;
    bool m_bKillAfter;
    int m_nFunction; ///< that fails
    int m_nError;
    std::size_t m_nLeft;   ///< calls to the one that fails; 0: none fails
    std::size_t m_nKillAt; ///< 0: none
    std::size_t m_nOfSystem;
    std::size_t m_Counts[kCalls];
};
constinit thread_local Section theSection = {};

[[noreturn]] void fnDie() {
    ::syscall(SYS_kill, ::syscall(SYS_getpid), SIGKILL);
    for (;;) {
    }
}

} // namespace

Call::Call(CallId function) noexcept {
    Section& section = theSection;
    if (!section.m_bArmed)
        return;
    ++section.m_Counts[function];
    if (!kFunctions[function].m_bMemory && ++section.m_nOfSystem == section.m_nKillAt) {
        if (!section.m_bKillAfter)
            fnDie();
        m_bDies = true;
    }
    if (section.m_nLeft == 0 || section.m_nFunction != function)
        return;
    if (section.m_nLeft > 1) {
        --section.m_nLeft;
        return;
    }
    section.m_nLeft = section.m_bAll ? 1 : 0;
    section.m_bHappened = true;
    m_nError = section.m_nError;
}

Call::~Call() {
    if (m_bDies)
        fnDie();
}

std::span<const FailingFunction> fnFailingFunctions() {
    return kFunctions;
}

CallFault::CallFault(const char* function, std::size_t nth, int error, bool all) {
    theSection = {};
    for (int i = 0; i < kCalls; ++i)
        if (std::strcmp(kFunctions[i].m_szName, function) == 0) {
            theSection.m_nFunction = i;
            theSection.m_nLeft = nth;
        }
    if (theSection.m_nLeft == 0)
        std::abort(); // no such function
    theSection.m_nError = error;
    theSection.m_bAll = all;
    theSection.m_bArmed = true;
}

bool CallFault::fnHappened() const {
    return theSection.m_bHappened;
}

void CallFault::fnEnd() {
    theSection.m_bArmed = false;
}

CallCount::CallCount() {
    theSection = {};
    theSection.m_bArmed = true;
}

CallCount::~CallCount() {
    theSection.m_bArmed = false;
}

std::size_t CallCount::fnOf(std::size_t function) {
    return theSection.m_Counts[function];
}

std::size_t CallCount::fnOfSystem() {
    return theSection.m_nOfSystem;
}

void fnKillAtCall(std::size_t nth, bool after) {
    theSection = {};
    theSection.m_nKillAt = nth;
    theSection.m_bKillAfter = after;
    theSection.m_bArmed = true;
}

} // namespace q32::test
