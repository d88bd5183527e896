#include "tests/faults/FaultRun.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/platform/CqPlatform.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/Sanitizers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace q32::test {

namespace {

/// Calls of one function in one operation, in the short form.
constexpr std::size_t kShortCalls = kAddressSanitizer ? 10 : 30;

/// What a run may not change.
struct Facts {
    std::ptrdiff_t m_nDescriptors = 0;
    std::uint64_t m_nRam = 0;
    std::int64_t m_nMapped = 0;
    std::set<std::string> m_Files;
};

Facts fnTakeFacts(const Folder& folder) {
    Facts facts;
    facts.m_nDescriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    if (q32::fnHasPlatform()) {
        q32GetVMPolicy()->fnReleaseHeld(); // what is held back isn't lost
        facts.m_nRam = q32GetVMPolicy()->fnGetRamBytes();
    }
    facts.m_nMapped = fnCountMapped();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.fnPath()))
        facts.m_Files.insert(entry.path().string());
    return facts;
}

/// A failure: which call, and how.
struct Fault {
    const FailingFunction* m_pFunction = nullptr; ///< null: a clean run
    std::size_t m_nNth = 0;
    int m_nError = 0;
    bool m_bAll = false;

    bool fnIs(std::initializer_list<std::string_view> names) const {
        return m_pFunction &&
               std::find(names.begin(), names.end(), m_pFunction->m_szName) != names.end();
    }
    std::string fnDescribe() const {
        if (!m_pFunction)
            return "without a failure";
        return std::string(m_pFunction->m_szName) + " " + std::to_string(m_nNth) +
               (m_nError == kShortTransfer ? " is short"
                                           : std::string(": ") + ::strerrorname_np(m_nError)) +
               (m_bAll ? " from then on" : "");
    }
};

class Runner {
public:
    Runner(const Folder& folder, const FaultOperation& operation)
        : m_Folder(folder), m_Operation(operation) {}

    FaultTally fnRun();

private:
    struct Result {
        bool m_bDone = false;
        bool m_bHappened = false;
        const char* m_szRaised = nullptr; ///< an exception that may not leave the library
    };

    Result fnWork();
    Result fnWork(const Fault& fault);
    bool fnTry(const Fault& fault);
    std::string fnExamine(const Fault& fault, const Result& result);
    std::string fnCompare(const Fault& fault, const Facts& now);
    void fnSweep(const Facts& now);
    bool fnLosesBlocks(const Fault& fault);
    void fnFailFunction(const FailingFunction& function, std::size_t calls);

    const Folder& m_Folder;
    const FaultOperation& m_Operation;
    Facts m_Before;
    FaultTally m_Tally;
};

Runner::Result Runner::fnWork() {
    Result result;
    try {
        result.m_bDone = m_Operation.m_Work();
    } catch (CException* refused) {
        refused->Delete();
    } catch (const std::bad_alloc&) {
        if (!m_Operation.m_bService)
            result.m_szRaised = "std::bad_alloc leaves the library";
    } catch (...) {
        result.m_szRaised = "an unknown exception leaves the library";
    }
    return result;
}

Runner::Result Runner::fnWork(const Fault& fault) {
    if (!fault.m_pFunction) {
        Result result = fnWork();
        result.m_bHappened = false;
        return result;
    }
    const bool hides = m_Operation.m_bLosesBlocks && __lsan_disable;
    if (hides)
        __lsan_disable();
    Result result;
    {
        const CallFault section(fault.m_pFunction->m_szName, fault.m_nNth, fault.m_nError,
                                fault.m_bAll);
        result = fnWork();
        CallFault::fnEnd();
        result.m_bHappened = section.fnHappened();
    }
    if (hides)
        __lsan_enable();
    return result;
}

/// What a call that failed to delete has left must go with the next sweep, or with the next file
/// that is saved in the folder.
void Runner::fnSweep(const Facts& now) {
    for (const std::string& path : now.m_Files) {
        const std::string folder = std::filesystem::path(path).parent_path();
        q32PosixSweepScratchFiles(folder.c_str());
        if (path.find("/.q32save-") == std::string::npos)
            continue;
        const auto files = q32PosixPlatform().m_pFiles;
        const std::string other = folder + "\\sweep";
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        if (const auto made = files->fnOpenReplacement(other.c_str(), cause))
            made->fnCommit();
        files->fnDelete(other.c_str());
    }
}

std::string Runner::fnCompare(const Fault& fault, const Facts& now) {
    if (now.m_nDescriptors != m_Before.m_nDescriptors)
        return "descriptors: " + std::to_string(now.m_nDescriptors - m_Before.m_nDescriptors);
    if (now.m_nRam != m_Before.m_nRam)
        return "RAM in use: " + std::to_string(now.m_nRam - m_Before.m_nRam);
    // A range that can't be unmapped or used stays, deliberately.
    if (now.m_nMapped != m_Before.m_nMapped && !fault.fnIs({"munmap", "mprotect"}))
        return "mapped bytes: " + std::to_string(now.m_nMapped - m_Before.m_nMapped);
    if (now.m_Files == m_Before.m_Files)
        return "";
    if (fault.fnIs({"unlink", "unlinkat", "stat", "fstat", "fstatat"})) {
        fnSweep(now);
        if (fnTakeFacts(m_Folder).m_Files == m_Before.m_Files)
            return "";
    }
    std::string names = "files:";
    for (const std::string& path : now.m_Files)
        if (m_Before.m_Files.count(path) == 0)
            names += " " + path;
    for (const std::string& path : m_Before.m_Files)
        if (now.m_Files.count(path) == 0)
            names += " not " + path;
    return names;
}

std::string Runner::fnExamine(const Fault& fault, const Result& result) {
    if (result.m_szRaised)
        return result.m_szRaised;
    if (!result.m_bDone && !result.m_bHappened)
        return "refused without a failure";
    const bool harmless = fault.m_nError == kShortTransfer || fault.m_nError == EINTR;
    if (!result.m_bDone && harmless && m_Operation.m_bRepeats)
        return "not repeated";
    return m_Operation.m_Check(result.m_bDone);
}

/// One run with a failure, or a clean one. False if something is wrong, which is reported.
bool Runner::fnTry(const Fault& fault) {
    m_Operation.m_Prepare();
    const Result result = fnWork(fault);
    std::string wrong = fnExamine(fault, result);
    m_Operation.m_Clear();
    const Facts now = fnTakeFacts(m_Folder);
    if (wrong.empty())
        wrong = fnCompare(fault, now);
    m_Before.m_nMapped = now.m_nMapped;
    m_Tally.m_nRuns += result.m_bHappened;
    m_Tally.m_nRefused += result.m_bHappened && !result.m_bDone;
    if (wrong.empty())
        return true;
    ADD_FAILURE() << m_Operation.m_szName << ", " << fault.fnDescribe() << ": " << wrong;
    return false;
}

/// Whether each repetition of a failed run takes more blocks. What is allocated once, for good, is
/// no loss.
bool Runner::fnLosesBlocks(const Fault& fault) {
    if (m_Operation.m_bLosesBlocks)
        return false;
    for (int i = 0; i < 3; ++i) {
        const std::size_t before = fnCountBlocks();
        m_Operation.m_Prepare();
        fnWork(fault);
        m_Operation.m_Clear();
        if (fnCountBlocks() <= before)
            return false;
    }
    return true;
}

void Runner::fnFailFunction(const FailingFunction& function, std::size_t calls) {
    const std::size_t errors = function.m_Errors.size() + (function.m_bMemory ? 1 : 0);
    const auto fault = [&](std::size_t nth, std::size_t error) {
        const bool all = error == function.m_Errors.size();
        return Fault{&function, nth, function.m_Errors[all ? 0 : error], all};
    };
    const bool whole = fnIsLongRun();
    const std::size_t step = whole ? 1 : std::max<std::size_t>(1, calls / kShortCalls);
    for (std::size_t nth = 1; nth <= calls; nth += step) {
        const std::size_t first = whole ? 0 : (nth / step) % errors;
        for (std::size_t error = first; error < (whole ? errors : first + 1); ++error) {
            const std::size_t before = fnCountBlocks();
            const Fault now = fault(nth, error);
            if (!fnTry(now) || !fnTry({}))
                return;
            if (fnCountBlocks() > before && fnLosesBlocks(now)) {
                ADD_FAILURE() << m_Operation.m_szName << ", " << now.fnDescribe()
                              << ": a block is lost";
                return;
            }
        }
    }
}

FaultTally Runner::fnRun() {
    // What is made once, at the first use, isn't lost.
    for (int i = 0; i < 2; ++i) {
        m_Operation.m_Prepare();
        const Result result = fnWork({});
        const std::string wrong = fnExamine({}, result);
        m_Operation.m_Clear();
        if (!wrong.empty()) {
            ADD_FAILURE() << m_Operation.m_szName << ", at first: " << wrong;
            return {};
        }
    }
    const auto functions = fnFailingFunctions();
    std::vector<std::size_t> calls;
    m_Operation.m_Prepare();
    {
        const CallCount count;
        fnWork({});
        for (std::size_t i = 0; i < functions.size(); ++i)
            calls.push_back(CallCount::fnOf(i));
    }
    m_Operation.m_Clear();
    m_Before = fnTakeFacts(m_Folder);
    for (std::size_t i = 0; i < functions.size(); ++i) {
        m_Tally.m_nCalls += calls[i];
        fnFailFunction(functions[i], calls[i]);
    }
    return m_Tally;
}

} // namespace

bool fnIsLongRun() {
    return std::getenv("Q32_TEST_LONG") != nullptr;
}

FaultOperation fnService(const char* name, std::function<bool()> work) {
    FaultOperation operation;
    operation.m_szName = name;
    operation.m_Work = std::move(work);
    operation.m_bService = true;
    return operation;
}

FaultTally fnFailEachCall(const Folder& folder, const FaultOperation& operation) {
    const FaultTally tally = Runner(folder, operation).fnRun();
    if (fnIsLongRun())
        std::printf("%-40s %6zu calls, %7zu failures, %7zu refused\n", operation.m_szName.c_str(),
                    tally.m_nCalls, tally.m_nRuns, tally.m_nRefused);
    return tally;
}

} // namespace q32::test
