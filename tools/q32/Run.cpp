#include "tools/q32/Run.h"

#include "q32Base/framework/Exceptions.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Texts.h"

#include <cstdio>
#include <new>

namespace tool {

namespace {

constexpr char kVersion[] = "q32 " Q32_TOOL_VERSION "\n";

int fnPrint(const std::string& text) {
    return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? CODE_FAILED
                                                                            : CODE_DONE;
}

int fnHelpWith(const std::vector<std::string>& words) {
    if (words.size() < 2)
        return fnPrint(fnMakeHelp());
    const Command* const command = fnFindCommand(words[1]);
    if (!command)
        throw UsageError{words[1] + ": there is no such command"};
    return fnPrint(fnMakeHelp(*command));
}

int fnDispatch(const std::vector<std::string>& words) {
    const std::string first = words.empty() ? "" : words.front();
    if (first.empty())
        throw UsageError{"a command is missing"};
    if (first == "help" || first == "--help" || first == "-h")
        return fnHelpWith(words);
    if (first == "--version")
        return fnPrint(kVersion);
    if (first == "--manual")
        return fnPrint(fnMakeManual());
    if (first == "--completion") {
        const std::string script = words.size() == 2 ? fnMakeCompletion(words[1]) : "";
        if (script.empty())
            throw UsageError{"--completion must name bash, zsh or fish"};
        return fnPrint(script);
    }
    const CommandLine line = fnParseCommandLine(words);
    const Command& command = *line.m_Steps.front().m_pCommand;
    if (line.m_Common.fnHas("help"))
        return fnPrint(fnMakeHelp(command));
    return command.m_eForm == Form::CHAIN ? fnRunChain(line) : command.m_pRun(line);
}

int fnFail(int code, const std::string& text) {
    std::fprintf(stderr, "q32: %s\n", text.c_str());
    return code;
}

/// Runs and reports what is thrown. Memory may be exhausted here again.
int fnRunOnce(const std::vector<std::string>& words) {
    try {
        return fnDispatch(words);
    } catch (const UsageError& error) {
        return fnFail(CODE_USAGE, error.m_szText + "\nTry \"q32 help\" or \"q32 help COMMAND\".");
    } catch (const Failure& failure) {
        return fnFail(CODE_FAILED, failure.m_szText);
    } catch (const Interrupted& interrupted) {
        return interrupted.m_nCode;
    } catch (CException* exception) {
        exception->Delete();
        return fnFail(CODE_FAILED, "not enough memory or scratch space");
    }
}

} // namespace

int fnRunTool(const std::vector<std::string>& words) noexcept {
    try {
        return fnRunOnce(words);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "q32: %s\n", exception.what());
    }
    return CODE_FAILED;
}

} // namespace tool
