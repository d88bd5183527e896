#include "tools/q32/Texts.h"
#include "tools/q32/Words.h"

namespace tool {

namespace {

/// A text that stands for itself in a manual page.
std::string fnEscape(std::string_view text) {
    std::string escaped;
    if (text.starts_with('.') || text.starts_with('\''))
        escaped = "\\&";
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    return escaped;
}

std::string fnItem(const std::string& name, std::string_view text) {
    return ".TP\n.B " + fnEscape(name) + '\n' + fnEscape(text) + '\n';
}

std::string fnListOptions(std::span<const Argument> options) {
    std::string list;
    for (const Argument& option : options)
        list += fnItem(fnNameOption(option), fnDescribe(option));
    return list;
}

std::string fnDescribeCommand(const Command& command) {
    std::string text = ".SS " + fnEscape(fnMakeSynopsis(command)) + '\n' +
                       fnEscape(command.m_pszSummary) + '\n' + fnEscape(command.m_pszText) + '\n';
    for (const Argument& word : command.m_Words)
        text += fnItem(word.m_pszName, fnDescribe(word));
    return text + fnListOptions(command.m_Options);
}

} // namespace

std::string fnMakeManual() {
    std::string text = ".TH Q32 1\n.SH NAME\nq32 \\- changes, converts and describes pictures of "
                       "any size\n.SH SYNOPSIS\n.B q32\nCOMMAND [OPTION]... WORD...\n.PP\n.B q32\n"
                       "COMMAND INPUT ... [+ COMMAND ...]... OUTPUT\n.SH DESCRIPTION\n";
    text += fnEscape("Pictures are PNG, JPEG, TIFF and BMP files. Their pixels are in memory up to "
                     "a limit and beyond it in scratch files, so that a picture may be larger than "
                     "memory.") +
            "\n.PP\n" + fnEscape(fnGetChainText()) +
            "\n.PP\nOn a terminal, a line shows how far the work is, and Esc or q stops it. "
            "Whatever stops it leaves no new file behind, and a file that was to be replaced stays "
            "as it "
            "was.\n.SH COMMANDS\n";
    for (const Command& command : fnGetCommands())
        text += fnDescribeCommand(command);
    text += ".SH OPTIONS\nEvery command takes these.\n" + fnListOptions(fnGetCommonOptions()) +
            ".SH EXIT STATUS\n";
    for (const ExitText& exit : fnGetExitTexts())
        text += fnItem(std::to_string(exit.m_nCode), exit.m_pszText);
    text += ".SH EXAMPLES\n.nf\n";
    for (const char* example : fnGetExamples())
        text += fnEscape(example) + '\n';
    return text + ".fi\n.SH ENVIRONMENT\n" +
           fnItem("TMPDIR",
                  "folder of scratch files, unless the settings or --scratch name others; "
                  "/var/tmp otherwise") +
           fnItem("XDG_CONFIG_HOME", "the settings are in its folder q32Base; ~/.config otherwise");
}

} // namespace tool
