#include "platforms/qt/qt.h"
#include "tests/contract/FileContract.h"
#include "tests/contract/KeyboardContract.h"
#include "tests/contract/LocaleContract.h"
#include "tests/contract/MemoryContract.h"
#include "tests/contract/ScratchContract.h"

#include <QTemporaryDir>

namespace {

/// The desktop back end, its files in a new folder that goes with the test.
ContractBackEnd fnDesktop() {
    return {"Desktop", [] {
                const auto folder = std::make_shared<QTemporaryDir>();
                CqQtOptions options;
                options.m_Posix.m_szConfigDirectory = folder->path().toStdString() + "/config";
                options.m_Posix.m_szLocale = "C.UTF-8";
                return ContractWorld{q32QtPlatform(q32QtWindows(), options),
                                     folder->path().toStdString() + '\\', folder};
            }};
}

const auto kDesktop = testing::Values(fnDesktop());

} // namespace

INSTANTIATE_TEST_SUITE_P(Qt, MemoryContract, kDesktop, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Qt, KeyboardContract, kDesktop, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Qt, ScratchContract, kDesktop, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Qt, FileContract, kDesktop, fnBackEndName);
INSTANTIATE_TEST_SUITE_P(Qt, LocaleContract, kDesktop, fnBackEndName);
