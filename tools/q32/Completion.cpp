#include "tools/q32/Texts.h"
#include "tools/q32/Words.h"

namespace tool {

namespace {

std::string fnListCommands(bool chained) {
    std::string list;
    for (const Command& command : fnGetCommands())
        if (!chained || command.m_eForm == Form::CHAIN)
            list += (list.empty() ? "" : " ") + std::string(command.m_pszName);
    return list;
}

std::string fnListOptionNames(std::span<const Argument> options) {
    std::string list;
    for (const Argument& option : options)
        list += std::string(list.empty() ? "" : " ") + "--" + option.m_pszName;
    return list;
}

/// Lines of a bash `case` that answer with the choices of an argument, by "command option".
std::string fnListChoices(const std::string& command, std::span<const Argument> arguments) {
    std::string lines;
    for (const Argument& argument : arguments)
        if (argument.m_eKind == Kind::CHOICE)
            lines += "    '" + command + "--" + argument.m_pszName + "') choices='" +
                     argument.m_pszChoices + "' ;;\n";
    return lines;
}

/// The choices of a command's words without a dash.
std::string fnListWords(const Command& command) {
    std::string list;
    for (const Argument& word : command.m_Words)
        if (word.m_eKind == Kind::CHOICE)
            list += word.m_pszChoices;
    return list;
}

/// In zsh the same script runs under its emulation of bash's completion.
std::string fnMakeBash() {
    std::string options;
    std::string choices = fnListChoices("* ", fnGetCommonOptions());
    for (const Command& command : fnGetCommands()) {
        const std::string name = command.m_pszName;
        options += "    " + name + ") options='" + fnListOptionNames(command.m_Options) +
                   "' words='" + fnListWords(command) + "' ;;\n";
        choices.insert(0, fnListChoices(name + " ", command.m_Options));
    }
    // A pattern that begins with a star must not be quoted there.
    for (std::size_t at = choices.find("'* "); at != std::string::npos; at = choices.find("'* "))
        choices.replace(at, 3, "*' ");
    return "_q32_words() {\n"
           "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
           "  local start=$((COMP_CWORD - 1)) command options words choices\n"
           "  COMPREPLY=()\n"
           "  while ((start > 0)) && [[ ${COMP_WORDS[start]} != + ]]; do ((start -= 1)); done\n"
           "  if ((start + 1 == COMP_CWORD)); then\n"
           "    choices='" +
           fnListCommands(false) + " help'\n    ((start == 0)) || choices='" +
           fnListCommands(true) +
           "'\n    COMPREPLY=($(compgen -W \"$choices\" -- \"$word\"))\n    return 0\n  fi\n"
           "  command=${COMP_WORDS[start+1]}\n"
           "  case $command in\n" +
           options + "    help) COMPREPLY=($(compgen -W '" + fnListCommands(false) +
           "' -- \"$word\")); return 0 ;;\n  esac\n  case \"$command $before\" in\n" + choices +
           "  esac\n"
           "  if [[ -n $choices ]]; then\n"
           "    COMPREPLY=($(compgen -W \"$choices\" -- \"$word\"))\n"
           "  elif [[ $word == -* ]]; then\n"
           "    COMPREPLY=($(compgen -W \"$options " +
           fnListOptionNames(fnGetCommonOptions()) +
           "\" -- \"$word\"))\n"
           "  else\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
           "    local IFS=$'\\n'\n"
           "    COMPREPLY+=($(compgen -f -- \"$word\"))\n"
           "  fi\n"
           "  return 0\n"
           "}\n"
           "complete -o filenames -F _q32_words q32\n";
}

/// A word of fish in single quotes.
std::string fnQuote(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + "'";
}

std::string fnCompleteOption(const Argument& argument, const std::string& condition) {
    std::string line = "complete -c q32 " + condition + "-l " + argument.m_pszName + " -d " +
                       fnQuote(argument.m_pszHelp);
    if (argument.m_eKind == Kind::CHOICE)
        line += " -xa " + fnQuote(argument.m_pszChoices);
    else if (argument.m_eKind == Kind::FILE || argument.m_eKind == Kind::FOLDERS)
        line += " -rF";
    else if (argument.m_eKind != Kind::FLAG)
        line += " -x";
    return line + '\n';
}

std::string fnMakeFish() {
    std::string text = "# The command of the step at the cursor; empty where one is to come.\n"
                       "function __q32_step\n"
                       "  set -l words (commandline -opc)\n"
                       "  set -l step\n"
                       "  set -l next 1\n"
                       "  for word in $words[2..-1]\n"
                       "    if test $next = 1\n"
                       "      set step $word\n"
                       "      set next 0\n"
                       "    else if test \"$word\" = +\n"
                       "      set step\n"
                       "      set next 1\n"
                       "    end\n"
                       "  end\n"
                       "  echo \"$step\"\n"
                       "end\n";
    for (const Command& command : fnGetCommands()) {
        const std::string name = command.m_pszName;
        text += "complete -c q32 -f -n 'test -z (__q32_step)' -a " + name + " -d " +
                fnQuote(command.m_pszSummary) + '\n';
        const std::string condition = "-n 'test (__q32_step) = " + name + "' ";
        const std::string words = fnListWords(command);
        if (!words.empty())
            text += "complete -c q32 " + condition + "-a " + fnQuote(words) + '\n';
        for (const Argument& option : command.m_Options)
            text += fnCompleteOption(option, condition);
    }
    for (const Argument& option : fnGetCommonOptions())
        text += fnCompleteOption(option, "");
    return text;
}

} // namespace

std::string fnMakeCompletion(std::string_view shell) {
    if (shell == "bash")
        return fnMakeBash();
    if (shell == "zsh")
        return "#compdef q32\nautoload -U +X bashcompinit && bashcompinit\n" + fnMakeBash() +
               "_bash_complete -o filenames -F _q32_words\n";
    return shell == "fish" ? fnMakeFish() : "";
}

} // namespace tool
