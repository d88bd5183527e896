/// @file What the program says: help, manual page, completions, and the causes of failures.
#pragma once

#include "plugins/PictureTypes.h"
#include "tools/q32/Table.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

/// The overview, or the help of one command.
std::string fnMakeHelp();
std::string fnMakeHelp(const Command& command);
/// The words of a command in their order, without its options: "resize INPUT SIZE OUTPUT".
std::string fnMakeSynopsis(const Command& command);
/// An option with its placeholder: "--size SIZE".
std::string fnNameOption(const Argument& argument);
/// What an argument is, with its range and its default.
std::string fnDescribe(const Argument& argument);

/// The manual page, in the language of man.
std::string fnMakeManual();
/// A script that completes words in a shell: "bash", "zsh" or "fish"; empty for any other.
std::string fnMakeCompletion(std::string_view shell);

/// A sentence that names the file and the cause.
/// @param error  the system's error number after the call; 0: unknown
std::string fnExplainReading(const std::string& path, const CqPictureResult& result, int error);
std::string fnExplainWriting(const std::string& path, const CqPictureResult& result, int error);
/// That memory is exhausted, with the room in the scratch folders.
std::string fnExplainMemory();

/// A number of bytes for people: "512 MB", in units of 1024.
std::string fnFormatBytes(std::uint64_t bytes);

struct ExitText {
    int m_nCode;
    const char* m_pszText;
};
/// The exit codes and an example of use, for the help and the manual.
std::span<const ExitText> fnGetExitTexts();
std::span<const char* const> fnGetExamples();
/// The paragraph about chains.
const char* fnGetChainText();

} // namespace tool
