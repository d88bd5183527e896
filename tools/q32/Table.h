/// @file The table of commands. The parser, the help, the manual page and the shells' completions
/// are all made from it: a command or an option is added in Commands.cpp and nowhere else.
#pragma once

#include <span>
#include <string_view>

class CqImage;

namespace tool {

class Session;
class Words;
struct CommandLine;

/// What a word on the command line means.
enum class Kind {
    FLAG,    ///< an option without a value
    INTEGER, ///< between two limits
    NUMBER,  ///< the same, with decimals
    CHOICE,  ///< one of several words
    COLOR,
    SIZE,
    PLACE,   ///< two integers
    BYTES,   ///< an amount of memory
    FILE,    ///< the name of a file to read
    FOLDERS, ///< names of folders, separated by commas
    WEIGHTS  ///< an odd number squared of numbers, separated by commas
};

/// An option, or a word without a dash.
struct Argument {
    const char* m_pszName; ///< of an option, without its dashes; else in capitals
    Kind m_eKind;
    const char* m_pszHelp;
    const char* m_pszDefault = ""; ///< empty: none
    double m_fLow = 0;             ///< INTEGER and NUMBER alone
    double m_fHigh = 0;
    const char* m_pszChoices = ""; ///< CHOICE alone; separated by spaces
};

/// How a command takes its files.
enum class Form {
    CHAIN,  ///< one picture in, one out, and others may follow it
    GATHER, ///< one or more in, then where the result goes
    FILES,  ///< one or more to read
    ALONE   ///< what its own words say
};

struct Command {
    const char* m_pszName;
    const char* m_pszSummary; ///< one line
    const char* m_pszText;    ///< paragraphs, separated by empty lines
    Form m_eForm;
    std::span<const Argument> m_Words; ///< those without a dash, in their order
    std::span<const Argument> m_Options;
    /// Changes the picture. CHAIN alone.
    void (*m_pChange)(CqImage& image, const Words& words, Session& session);
    /// Does everything; returns an exit code. All other forms.
    int (*m_pRun)(const CommandLine& line);
    /// Throws UsageError for words that don't go together; null: all do.
    void (*m_pCheck)(const Words& words) = nullptr;
};

std::span<const Command> fnGetCommands();
/// Null if there is none of that name.
const Command* fnFindCommand(std::string_view name);
/// The options that every command takes.
std::span<const Argument> fnGetCommonOptions();

} // namespace tool
