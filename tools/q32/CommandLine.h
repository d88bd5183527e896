/// @file The command line, parsed and checked.
#pragma once

#include "tools/q32/Table.h"
#include "tools/q32/Words.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The words of one step by their names in the table. All values were checked, and those that
/// aren't given have their defaults. Asking for an argument that has neither is a fault of the
/// program, and throws std::bad_optional_access or std::out_of_range.
class Words {
public:
    void fnSet(const std::string& name, std::string text);
    /// Whether it was given, or has a default.
    bool fnHas(std::string_view name) const { return m_Texts.find(name) != m_Texts.end(); }
    /// Whether it was given.
    bool fnIsGiven(std::string_view name) const;
    const std::string& fnGetText(std::string_view name) const;
    int fnGetInteger(std::string_view name) const;
    double fnGetNumber(std::string_view name) const;
    CqColor fnGetColor(std::string_view name) const;
    SizeSpec fnGetSize(std::string_view name) const;
    Place fnGetPlace(std::string_view name) const;
    /// Adds the defaults of what isn't given.
    void fnComplete(std::span<const Argument> arguments);

private:
    struct Word {
        std::string m_szText;
        bool m_bGiven;
    };
    std::map<std::string, Word, std::less<>> m_Texts;
};

struct Step {
    const Command* m_pCommand = nullptr;
    Words m_Words;
};

struct CommandLine {
    std::vector<Step> m_Steps;        ///< at least one; several only of the form CHAIN
    Words m_Common;                   ///< the options that every command takes, from all steps
    std::vector<std::string> m_Files; ///< to be read
    std::string m_szOutput;           ///< empty for the forms without one
};

/// The first word is a command's name. Throws UsageError.
CommandLine fnParseCommandLine(const std::vector<std::string>& words);

} // namespace tool
