#include "q32Base/image/CqImage.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"

#include <filesystem>

namespace tool {

namespace {

bool fnIsSameFile(const std::string& a, const std::string& b) {
    std::error_code ignored;
    return std::filesystem::equivalent(a, b, ignored);
}

} // namespace

int fnRunChain(const CommandLine& line) {
    const std::string& input = line.m_Files.front();
    fnRequireFormat(line.m_szOutput);
    Session session(line.m_Common);
    CqImage image;
    if (const unsigned int parts = fnReadFile(input, image, session)) {
        if (fnIsSameFile(input, line.m_szOutput) && !line.m_Common.fnHas("force"))
            throw Failure{input + ": holds more than was read, which would be lost: save under "
                                  "another name, or use --force"};
        session.fnWarn(input + ": " + fnExplainParts(parts));
    }
    for (const Step& step : line.m_Steps) {
        session.fnGetProgress().fnBegin(step.m_pCommand->m_pszName);
        fnExplainFailure(step.m_pCommand->m_pszName,
                         [&] { step.m_pCommand->m_pChange(image, step.m_Words, session); });
        session.fnGetProgress().fnRequire();
    }
    fnExplainFailure(line.m_szOutput, [&] { fnSaveFile(line.m_szOutput, image, session); });
    return CODE_DONE;
}

} // namespace tool
