#include "tools/q32/CommandLine.h"

#include "tools/q32/Failure.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <deque>

namespace tool {

namespace {

/// Separates the steps of a chain. No shell gives it a meaning, and it is no likely file name.
constexpr char kThen[] = "+";
constexpr char kInput[] = "INPUT";
constexpr char kOutput[] = "OUTPUT";

/// An option and what was given for it.
struct Slot {
    const Argument* m_pArgument;
    bool m_bCommon;
    bool m_bFlag = false;
    std::string m_szText;
    CLI::Option* m_pOption = nullptr;
};

using Texts = std::vector<std::string>;

std::vector<Texts> fnSplitSteps(const Texts& words) {
    std::vector<Texts> steps(1);
    for (const std::string& word : words) {
        if (word == kThen)
            steps.emplace_back();
        else
            steps.back().push_back(word);
    }
    return steps;
}

const Command& fnRequireCommand(const Texts& words) {
    if (words.empty())
        throw UsageError{"a command is missing beside \"+\""};
    const Command* const command = fnFindCommand(words.front());
    if (!command)
        throw UsageError{words.front() + ": there is no such command"};
    return *command;
}

[[noreturn]] void fnRefuse(const Command& command, const std::string& text) {
    throw UsageError{std::string(command.m_pszName) + ": " + text};
}

void fnCheck(const Command& command, const Argument& argument, bool option,
             const std::string& text) {
    const std::string complaint = fnFindComplaint(argument, text);
    if (!complaint.empty())
        fnRefuse(command, (option ? "--" : "") + std::string(argument.m_pszName) + " \"" + text +
                              "\" must be " + complaint);
}

std::deque<Slot> fnMakeSlots(const Command& command, CLI::App& app) {
    std::deque<Slot> slots;
    const auto add = [&](std::span<const Argument> arguments, bool common) {
        for (const Argument& argument : arguments) {
            Slot& slot = slots.emplace_back(Slot{&argument, common, false, "", nullptr});
            const std::string name = std::string("--") + argument.m_pszName;
            slot.m_pOption = argument.m_eKind == Kind::FLAG ? app.add_flag(name, slot.m_bFlag)
                                                            : app.add_option(name, slot.m_szText);
        }
    };
    add(command.m_Options, false);
    add(fnGetCommonOptions(), true);
    return slots;
}

bool fnLooksLikeOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !fnParseNumber(word);
}

/// Stores the options of a step; returns its other words.
Texts fnParseOptions(const Command& command, const Texts& words, Words& own, Words& common) {
    const auto end = std::ranges::find(words, "--");
    Texts reversed(words.begin() + 1, end);
    std::ranges::reverse(reversed);
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    std::deque<Slot> slots = fnMakeSlots(command, app);
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        fnRefuse(command, error.what());
    }
    for (const Slot& slot : slots) {
        if (slot.m_pOption->count() == 0)
            continue;
        Words& target = slot.m_bCommon ? common : own;
        if (target.fnIsGiven(slot.m_pArgument->m_pszName))
            fnRefuse(command, std::string("--") + slot.m_pArgument->m_pszName + " is given twice");
        fnCheck(command, *slot.m_pArgument, true, slot.m_szText);
        target.fnSet(slot.m_pArgument->m_pszName, slot.m_szText);
    }
    Texts rest = app.remaining();
    for (const std::string& word : rest)
        if (fnLooksLikeOption(word))
            fnRefuse(command, "there is no option " + word);
    if (end != words.end())
        rest.insert(rest.end(), end + 1, words.end());
    return rest;
}

/// The names of the words without a dash that a step takes, as the help shows them.
Texts fnListNames(const Command& command, bool first, bool last) {
    Texts names;
    const bool chain = command.m_eForm == Form::CHAIN;
    if (chain && first)
        names.emplace_back(kInput);
    for (const Argument& argument : command.m_Words)
        names.emplace_back(argument.m_pszName);
    if (chain && last)
        names.emplace_back(kOutput);
    return names;
}

void fnRequireCount(const Command& command, const Texts& given, std::size_t count,
                    const std::string& names) {
    if (given.size() == count)
        return;
    fnRefuse(command, (given.size() > count ? "too many words: it takes " : "it needs ") +
                          (names.empty() ? "options alone" : names));
}

/// Stores the words without a dash of one step.
void fnTakeWords(CommandLine& line, Step& step, Texts given, bool first, bool last) {
    const Command& command = *step.m_pCommand;
    std::string names;
    for (const std::string& name : fnListNames(command, first, last))
        names += (names.empty() ? "" : " ") + name;
    if (command.m_eForm == Form::FILES || command.m_eForm == Form::GATHER) {
        const bool gathers = command.m_eForm == Form::GATHER;
        if (given.size() < (gathers ? 2U : 1U))
            fnRefuse(command, gathers ? "it needs INPUT... OUTPUT" : "it needs FILE...");
        if (gathers) {
            line.m_szOutput = given.back();
            given.pop_back();
        }
        line.m_Files = std::move(given);
        return;
    }
    fnRequireCount(command, given, fnListNames(command, first, last).size(), names);
    auto next = given.begin();
    if (command.m_eForm == Form::CHAIN && first)
        line.m_Files.push_back(*next++);
    for (const Argument& argument : command.m_Words) {
        fnCheck(command, argument, false, *next);
        step.m_Words.fnSet(argument.m_pszName, *next++);
    }
    if (command.m_eForm == Form::CHAIN && last)
        line.m_szOutput = *next;
}

} // namespace

void Words::fnSet(const std::string& name, std::string text) {
    m_Texts[name] = {std::move(text), true};
}

bool Words::fnIsGiven(std::string_view name) const {
    const auto found = m_Texts.find(name);
    return found != m_Texts.end() && found->second.m_bGiven;
}

const std::string& Words::fnGetText(std::string_view name) const {
    const auto found = m_Texts.find(name);
    if (found == m_Texts.end())
        throw std::out_of_range(std::string(name));
    return found->second.m_szText;
}

int Words::fnGetInteger(std::string_view name) const {
    return fnParseInteger(fnGetText(name)).value();
}

double Words::fnGetNumber(std::string_view name) const {
    return fnParseNumber(fnGetText(name)).value();
}

CqColor Words::fnGetColor(std::string_view name) const {
    return fnParseColor(fnGetText(name)).value();
}

SizeSpec Words::fnGetSize(std::string_view name) const {
    return fnParseSize(fnGetText(name)).value();
}

Place Words::fnGetPlace(std::string_view name) const {
    return fnParsePlace(fnGetText(name)).value();
}

void Words::fnComplete(std::span<const Argument> arguments) {
    for (const Argument& argument : arguments)
        if (*argument.m_pszDefault != '\0')
            m_Texts.try_emplace(argument.m_pszName, Word{argument.m_pszDefault, false});
}

CommandLine fnParseCommandLine(const std::vector<std::string>& words) {
    CommandLine line;
    const std::vector<Texts> steps = fnSplitSteps(words);
    for (const Texts& texts : steps) {
        Step step{&fnRequireCommand(texts), {}};
        if (steps.size() > 1 && step.m_pCommand->m_eForm != Form::CHAIN)
            fnRefuse(*step.m_pCommand, "it can't be chained by \"+\"");
        Texts rest = fnParseOptions(*step.m_pCommand, texts, step.m_Words, line.m_Common);
        // Whoever asks for help need not know the rest.
        if (!line.m_Common.fnHas("help"))
            fnTakeWords(line, step, std::move(rest), &texts == &steps.front(),
                        &texts == &steps.back());
        step.m_Words.fnComplete(step.m_pCommand->m_Options);
        if (step.m_pCommand->m_pCheck && !line.m_Common.fnHas("help"))
            step.m_pCommand->m_pCheck(step.m_Words);
        line.m_Steps.push_back(std::move(step));
    }
    line.m_Common.fnComplete(fnGetCommonOptions());
    return line;
}

} // namespace tool
