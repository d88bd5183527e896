#include "platforms/posix/posix.h"
#include "tests/contract/ContractBackEnd.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace {

/// The real system, in a new folder on the disk of /var/tmp, removed with the test.
ContractBackEnd fnInLocale(const std::string& name, const std::string& locale,
                           std::set<CONTRACT> contracts) {
    return {name, std::move(contracts), [locale] {
                std::string folder = "/var/tmp/q32contractXXXXXX";
                if (!::mkdtemp(folder.data()))
                    throw std::runtime_error("no folder for the test");
                CqPosixOptions options;
                options.m_szConfigDirectory = folder + "/config";
                options.m_szLocale = locale;
                ContractWorld made;
                made.m_Platform = q32PosixPlatform(options);
                made.m_szDirectory = folder + '\\';
                made.m_pKeep = std::shared_ptr<void>(nullptr, [folder](void*) {
                    std::error_code ignored;
                    std::filesystem::remove_all(folder, ignored);
                });
                made.m_SetLastError = [](DWORD code) { errno = static_cast<int>(code); };
                return made;
            }};
}

/// More threads than most machines have cores. Null without oneTBB.
CqPlatform fnMakeWorking() {
    CqPosixOptions options;
    options.m_nConcurrency = 5;
    return q32PosixPlatform(options);
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    std::vector<ContractBackEnd> all = {
        fnInLocale("C", "C",
                   {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
                    CONTRACT::ERRORS}),
        fnInLocale("Utf8", "C.UTF-8", {CONTRACT::FILES, CONTRACT::LOCALE, CONTRACT::ERRORS})};
    if (fnMakeWorking().m_pWork)
        all.push_back({"Threads", {CONTRACT::WORK}, [] {
                           ContractWorld made;
                           made.m_Platform = fnMakeWorking();
                           return made;
                       }});
    return all;
}

std::set<CONTRACT> fnGetOmittedContracts() {
    // Services of platforms/software; message boxes are lines of the error stream.
    return {CONTRACT::SCREEN,   CONTRACT::REGIONS,   CONTRACT::PALETTES, CONTRACT::BOXES,
            CONTRACT::KEYBOARD, CONTRACT::RESOURCES, CONTRACT::WINDOWS,  CONTRACT::DUMP_VIEW,
            CONTRACT::WAVE_OUT, CONTRACT::MIXERS};
}
