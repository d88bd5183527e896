#include "platforms/posix/posix.h"
#include "tests/contract/FileContract.h"
#include "tests/contract/LocaleContract.h"
#include "tests/contract/MemoryContract.h"
#include "tests/contract/ScratchContract.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

/// The real system, in a new folder of the disk of /var/tmp that goes with the test.
ContractBackEnd fnInLocale(const std::string& name, const std::string& locale) {
    return {name, [locale] {
                std::string folder = "/var/tmp/q32contractXXXXXX";
                if (!::mkdtemp(folder.data()))
                    throw std::runtime_error("no folder for the test");
                CqPosixOptions options;
                options.m_szConfigDirectory = folder + "/config";
                options.m_szLocale = locale;
                return ContractWorld{q32PosixPlatform(options), folder + '\\',
                                     std::shared_ptr<void>(nullptr, [folder](void*) {
                                         std::error_code ignored;
                                         std::filesystem::remove_all(folder, ignored);
                                     })};
            }};
}

const auto kSystem = testing::Values(fnInLocale("C", "C"));
const auto kLocales = testing::Values(fnInLocale("C", "C"), fnInLocale("Utf8", "C.UTF-8"));

} // namespace

INSTANTIATE_TEST_SUITE_P(Posix, MemoryContract, kSystem, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Posix, ScratchContract, kSystem, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Posix, FileContract, kLocales, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Posix, LocaleContract, kLocales, fnBackEndName);
