#include "tools/q32/Texts.h"
#include "tools/q32/Words.h"

#include <algorithm>

namespace tool {

namespace {

constexpr std::size_t kColumns = 80;
constexpr std::size_t kNames = 26; ///< width of the column of names

constexpr ExitText kExits[] = {
    {0, "everything was done"},
    {1, "something failed; the message names the file and the cause"},
    {2, "the command line is wrong; nothing was read or written"},
    {130, "stopped by Esc or Ctrl-C; 128 plus its number for any other signal"},
};

constexpr const char* kExamples[] = {
    "q32 convert scan.tif scan.png",
    "q32 resize photo.jpg 50% half.jpg --quality 85",
    "q32 resize photo.jpg 1600x + rotate 90 + adjust --contrast 15 web.jpg",
    "q32 thumbnail *.jpg thumbnails/ --size 320x320",
    "q32 rotate survey.tif 90 turned.tif --memory 512M --scratch /fast,/large",
};

constexpr char kChain[] =
    "convert, resize, rotate, adjust, filter and merge can follow each other, separated by a plus "
    "sign that stands alone. The first one names INPUT, the last one OUTPUT, and no file is "
    "written "
    "between them. OUTPUT replaces a file of that name only when it is complete.";

/// Breaks a text into lines that begin after `indent` spaces; the first begins where `line` ends.
std::string fnWrap(std::string line, std::string_view text, std::size_t indent) {
    std::string all;
    line.resize(std::max(line.size(), indent), ' ');
    for (const std::string& word : fnSplitText(text, ' ')) {
        if (line.size() > indent && line.back() != ' ') {
            if (line.size() + 1 + word.size() > kColumns) {
                all += line + '\n';
                line.assign(indent, ' ');
            } else {
                line += ' ';
            }
        }
        line += word;
    }
    return all + line + '\n';
}

std::string fnListItem(const std::string& name, std::string_view text) {
    const std::string start = "  " + name;
    if (start.size() + 1 < kNames)
        return fnWrap(start, text, kNames);
    return start + '\n' + fnWrap("", text, kNames);
}

std::string fnListOptions(std::span<const Argument> options) {
    std::string list;
    for (const Argument& option : options)
        list += fnListItem(fnNameOption(option), fnDescribe(option));
    return list;
}

std::string fnListExits() {
    std::string list;
    for (const ExitText& exit : kExits)
        list += fnListItem(std::to_string(exit.m_nCode), exit.m_pszText);
    return list;
}

} // namespace

std::span<const ExitText> fnGetExitTexts() {
    return kExits;
}

std::span<const char* const> fnGetExamples() {
    return kExamples;
}

const char* fnGetChainText() {
    return kChain;
}

std::string fnMakeSynopsis(const Command& command) {
    std::string text = command.m_pszName;
    if (command.m_eForm == Form::CHAIN)
        text += " INPUT";
    if (command.m_eForm == Form::GATHER)
        text += " INPUT...";
    if (command.m_eForm == Form::FILES)
        text += " FILE...";
    for (const Argument& word : command.m_Words)
        text += std::string(" ") + word.m_pszName;
    if (command.m_eForm == Form::CHAIN || command.m_eForm == Form::GATHER)
        text += " OUTPUT";
    return text;
}

std::string fnNameOption(const Argument& argument) {
    const std::string value = fnNameValue(argument);
    return std::string("--") + argument.m_pszName + (value.empty() ? "" : " " + value);
}

std::string fnDescribe(const Argument& argument) {
    std::string text = argument.m_pszHelp;
    if (argument.m_eKind == Kind::INTEGER || argument.m_eKind == Kind::NUMBER) {
        // The complaint about a value names the range.
        const std::string range = fnFindComplaint(argument, "");
        text += ", " + range.substr(range.find("from"));
    }
    if (argument.m_eKind == Kind::CHOICE && *argument.m_pszName < 'a')
        text += ": " + fnNameValue(argument);
    if (*argument.m_pszDefault != '\0')
        text += std::string(" (default ") + argument.m_pszDefault + ")";
    return text;
}

std::string fnMakeHelp() {
    std::string text = "usage: q32 COMMAND [OPTION]... WORD...\n"
                       "       q32 COMMAND INPUT ... [+ COMMAND ...]... OUTPUT\n"
                       "       q32 help COMMAND\n\nCommands:\n";
    for (const Command& command : fnGetCommands())
        text += fnListItem(command.m_pszName, command.m_pszSummary);
    text += '\n' + fnWrap("", kChain, 0) + "\nOptions of all commands:\n" +
            fnListOptions(fnGetCommonOptions()) + "\nExamples:\n";
    for (const char* example : kExamples)
        text += std::string("  ") + example + '\n';
    return text + "\nExit codes:\n" + fnListExits();
}

std::string fnMakeHelp(const Command& command) {
    std::string text = "usage: q32 " + fnMakeSynopsis(command) + " [OPTION]...\n\n" +
                       fnWrap("", command.m_pszSummary, 0) + '\n' +
                       fnWrap("", command.m_pszText, 0) + '\n';
    for (const Argument& word : command.m_Words)
        text += fnListItem(word.m_pszName, fnDescribe(word));
    if (!command.m_Words.empty())
        text += '\n';
    if (!command.m_Options.empty())
        text += "Options:\n" + fnListOptions(command.m_Options) + '\n';
    text += "Options of all commands:\n" + fnListOptions(fnGetCommonOptions());
    if (command.m_eForm == Form::CHAIN)
        text += '\n' + fnWrap("", kChain, 0);
    return text;
}

} // namespace tool
