#include "platforms/qt/qt.h"
#include "tests/contract/ContractBackEnd.h"

#include <QTemporaryDir>

namespace {

/// The desktop back end, its files in a new folder that goes with the test.
ContractBackEnd fnDesktop() {
    return {"Desktop",
            {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
             CONTRACT::KEYBOARD},
            [] {
                const auto folder = std::make_shared<QTemporaryDir>();
                CqQtOptions options;
                options.m_Posix.m_szConfigDirectory = folder->path().toStdString() + "/config";
                options.m_Posix.m_szLocale = "C.UTF-8";
                ContractWorld made;
                made.m_Platform = q32QtPlatform(q32QtWindows(), options);
                made.m_szDirectory = folder->path().toStdString() + '\\';
                made.m_pKeep = folder;
                return made;
            }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    return {fnDesktop()};
}
