#include "cli/completion.hpp"

#include <functional>

namespace kestu {

namespace {

void visit(const Command& command, const std::function<void(const Command&)>& each) {
  each(command);
  for (const Command& sub : command.subcommands) visit(sub, each);
}

std::string subcommandWords(const Command& command) {
  std::string words;
  for (const Command& sub : command.subcommands) words += sub.word() + " ";
  if (command.path == "kestu") words += "help ";
  for (const Argument& argument : command.arguments) {
    for (const std::string& choice : argument.choices) words += choice + " ";
  }
  return words;
}

std::string optionWords(const Command& command) {
  std::string words;
  for (const Option& option : command.options) {
    if (!option.hidden) {
      for (const std::string& name : option.names) words += name + " ";
    }
  }
  return words + "--help";
}

/// Shared by bash and zsh, which both know case statements and arrays.
std::string tables(const Command& root) {
  std::string words = "_kestu_words() {\n  case \"$1\" in\n";
  std::string values = "_kestu_values() {\n  case \"$1\" in\n";
  visit(root, [&](const Command& command) {
    words += "    '" + command.path + "') echo '" + subcommandWords(command) + optionWords(command) + "' ;;\n";
    for (const Option& option : command.options) {
      if (option.hidden || option.value.empty()) continue;
      std::string choices;
      for (const std::string& choice : option.choices) choices += choice + " ";
      for (const std::string& name : option.names)
        values += "    '" + command.path + " " + name + "') echo '" + choices + "' ;;\n";
    }
  });
  return words + "    *) return 1 ;;\n  esac\n}\n" + values + "    *) return 1 ;;\n  esac\n}\n" + R"sh(_kestu_path() {
  local path=kestu word
  for word in "$@"; do
    case "$word" in
      -*) ;;
      help) ;;
      *) _kestu_words "$path $word" >/dev/null && path="$path $word" ;;
    esac
  done
  echo "$path"
}
)sh";
}

std::string bash(const Command& root) {
  return "# bash completion for kestu\n" + tables(root) + R"sh(_kestu() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} path choices
  # bash takes the equals sign of --output=json for a word of its own.
  [ "$current" = = ] && current=
  [ "$previous" = = ] && previous=${COMP_WORDS[COMP_CWORD-2]}
  path=$(_kestu_path "${COMP_WORDS[@]:1:COMP_CWORD-1}")
  if choices=$(_kestu_values "$path $previous"); then
    COMPREPLY=($(compgen -W "$choices" -- "$current"))
  else
    COMPREPLY=($(compgen -W "$(_kestu_words "$path")" -- "$current"))
  fi
}
complete -o default -F _kestu kestu
)sh";
}

std::string zsh(const Command& root) {
  return "#compdef kestu\n# zsh completion for kestu\n" + tables(root) + R"sh(_kestu() {
  local kestu_path choices
  kestu_path=$(_kestu_path "${(@)words[2,CURRENT-1]}")
  if choices=$(_kestu_values "$kestu_path ${words[CURRENT-1]}"); then
    compadd -- ${=choices}
  else
    compadd -- ${=$(_kestu_words "$kestu_path")}
  fi
}
if [ "$funcstack[1]" = "_kestu" ]; then
  _kestu "$@"
else
  compdef _kestu kestu
fi
)sh";
}

std::string fishQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "'";
}

std::string fish(const Command& root) {
  std::string script = R"sh(# fish completion for kestu
function __kestu_at
    set -l words (commandline -opc)
    set -l path kestu
    for word in $words[2..-1]
        if not string match -q -- '-*' $word; and test $word != help
            set path "$path $word"
        end
    end
    test "$path" = "$argv[1]"
end
complete -c kestu -f
)sh";
  visit(root, [&](const Command& command) {
    std::string at = "complete -c kestu -n " + fishQuoted("__kestu_at " + fishQuoted(command.path));
    for (const Command& sub : command.subcommands)
      script += at + " -a " + fishQuoted(sub.word()) + " -d " + fishQuoted(sub.abstract) + "\n";
    for (const Argument& argument : command.arguments) {
      for (const std::string& choice : argument.choices) script += at + " -a " + fishQuoted(choice) + "\n";
    }
    for (const Option& option : command.options) {
      if (option.hidden) continue;
      script += at;
      for (const std::string& name : option.names)
        script += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      if (!option.value.empty()) script += " -x";
      std::string choices;
      for (const std::string& choice : option.choices) choices += (choices.empty() ? "" : " ") + choice;
      if (!choices.empty()) script += " -a " + fishQuoted(choices);
      script += " -d " + fishQuoted(option.help) + "\n";
    }
  });
  return script;
}

} // namespace

std::optional<std::string> completionScript(const Command& root, const std::string& shell) {
  if (shell == "bash") return bash(root);
  if (shell == "zsh") return zsh(root);
  if (shell == "fish") return fish(root);
  return std::nullopt;
}

} // namespace kestu
