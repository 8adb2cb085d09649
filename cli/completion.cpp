#include "cli/completion.hpp"

#include "cli/topics.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestu {

namespace {

const Option* optionCalled(const Command& command, std::string_view name) {
  for (const Option& option : command.options) {
    if (std::find(option.names.begin(), option.names.end(), name) != option.names.end()) return &option;
  }
  return nullptr;
}

const Command* subcommand(const Command& command, std::string_view word) {
  for (const Command& sub : command.subcommands) {
    if (sub.word() == word) return &sub;
  }
  return nullptr;
}

/// The files that are called for by what a value calls itself.
std::string filesOf(const Command& command, std::string_view name) {
  if (name == "folder") return "folders";
  if (name != "file") return "";
  return command.path == "kestu builds upload" ? "files ipa pkg" : "files";
}

/// Where the words lead, and what the one that is typed belongs to.
struct Place {
  const Command* command;
  const Option* pending = nullptr; ///< its value is typed
  std::size_t arguments = 0;
  bool onlyArguments = false; ///< after "--"
};

/// An option that takes a value, and where in the word the value begins, should it stand there.
struct Valued {
  const Option* option = nullptr;
  std::size_t value = 0;
};

/// "--locale" of "--locale=en", "-o" of "-ycsv"… and of "-yo"; none of a flag.
Valued valuedIn(const Command& command, const std::string& word) {
  Valued found;
  if (word.starts_with("--")) {
    std::size_t equals = word.find('=');
    found = {optionCalled(command, word.substr(0, equals)), equals == std::string::npos ? word.size() : equals + 1};
  } else {
    std::size_t at = 1;
    do found = {optionCalled(command, std::string{'-', word[at]}), at + 1};
    while (++at < word.size() && found.option && found.option->value.empty());
  }
  return found.option && !found.option->value.empty() ? found : Valued{};
}

/// The option that the next word is the value of: "--app" of "--app", "-o" of "-yo", none of "-ojson".
const Option* waiting(const Command& command, const std::string& word) {
  Valued found = valuedIn(command, word);
  return found.value == word.size() && !word.ends_with('=') ? found.option : nullptr;
}

void take(Place& place, const std::string& word) {
  if (std::exchange(place.pending, nullptr)) return;
  if (place.onlyArguments) {
    ++place.arguments;
  } else if (word == "--") {
    place.onlyArguments = true;
  } else if (word.size() > 1 && word.front() == '-') {
    place.pending = waiting(*place.command, word);
  } else if (const Command* sub = place.arguments == 0 ? subcommand(*place.command, word) : nullptr) {
    place.command = sub;
  } else {
    ++place.arguments;
  }
}

/// Values that are given as several between commas, by what they call themselves.
bool isList(std::string_view name) {
  constexpr std::string_view lists[] = {"locale", "display", "countries", "regions", "whom"};
  return std::find(std::begin(lists), std::end(lists), name) != std::end(lists);
}

void addValues(Completions& found, const Command& command, std::string_view name,
               const std::vector<std::string>& choices, const CompletionValues& values) {
  for (const std::string& choice : choices) found.candidates.push_back({choice, ""});
  if (!choices.empty()) return;
  found.files = filesOf(command, name);
  for (Candidate& each : values(name)) found.candidates.push_back(std::move(each));
}

/// What the option's value may become, `head` standing before it in the word ("--locale=", "-o").
void addOptionValues(Completions& found, const Command& command, const Option& option, std::string head,
                     const std::string& typed, const CompletionValues& values) {
  addValues(found, command, option.value, option.choices, values);
  std::size_t comma = isList(option.value) ? typed.rfind(',') : std::string::npos;
  if (comma != std::string::npos) {
    auto given = Text::split(typed.substr(0, comma), ',');
    std::erase_if(found.candidates, [&](const Candidate& each) {
      return std::find(given.begin(), given.end(), each.value) != given.end();
    });
    head += typed.substr(0, comma + 1);
  }
  for (Candidate& each : found.candidates) each.value.insert(0, head);
}

/// "Only these languages, …" without what follows it: a menu has a line for each.
std::string firstSentence(const std::string& text) {
  std::size_t end = text.find(". ");
  return text.substr(0, end == std::string::npos ? end : end + 1);
}

void addOptions(Completions& found, const Command& command) {
  for (const Option& option : command.options) {
    if (option.hidden) continue;
    for (const std::string& name : option.names) found.candidates.push_back({name, firstSentence(option.help)});
  }
  found.candidates.push_back({"--help", "Show this help."});
  if (command.path != "kestu") return;
  found.candidates.push_back({"--version", "Print the version."});
  found.candidates.push_back({std::string(scriptOption), "Print a shell's completion script."});
}

void addWords(Completions& found, const Place& place, bool helpAsked, const CompletionValues& values) {
  const Command& command = *place.command;
  if (place.arguments == 0 && !place.onlyArguments) {
    for (const Command& sub : command.subcommands)
      found.candidates.push_back({sub.word(), firstSentence(sub.abstract)});
    if (command.path == "kestu" && !helpAsked) found.candidates.push_back({"help", "Help for any command."});
  }
  if (helpAsked) {
    if (command.path != "kestu") return;
    for (const Page& topic : topics()) found.candidates.push_back({topicWord(topic), firstSentence(topic.abstract)});
    return;
  }
  if (place.arguments >= command.arguments.size()) return;
  const Argument& argument = command.arguments[place.arguments];
  addValues(found, command, argument.name, argument.choices, values);
}

constexpr std::string_view bash = R"sh(# bash completion for kestu
_kestu() {
  local words=() word glued= last=0 line files quote= typed lines=()
  # bash takes "=" and ":" for words of their own.
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    if [ ${#words[@]} -gt 0 ] && { [ -n "$glued" ] || [ "$word" = = ] || [ "$word" = : ]; }; then
      words[last]+=$word
    else
      last=${#words[@]}
      words[last]=$word
    fi
    case $word in =|:) glued=1 ;; *) glued= ;; esac
  done
  typed=${COMP_WORDS[COMP_CWORD]}
  case $typed in \"*|\'*) quote=${typed:0:1} ;; esac
  for ((word = 0; word <= last; word++)); do
    words[word]=${words[word]//[\\\"\']/}
  done
  word=${words[last]}
  case $typed in =|:) typed= ;; esac
  typed=${typed//[\\\"\']/}
  while IFS= read -r line; do lines+=("$line"); done < <("$1" --complete bash "${words[@]}" 2>/dev/null)
  files=${lines[0]#files:}
  COMPREPLY=()
  for line in "${lines[@]:1}"; do
    line=${line%%$'\t'*}
    line=${line:$((${#word} - ${#typed}))}
    [ -n "$quote" ] || printf -v line %q "$line"
    line=${line//\\,/,}
    COMPREPLY+=("$line")
  done
  case $files in
    folders) while IFS= read -r line; do COMPREPLY+=("$line"); done < <(compgen -d -- "$typed") ;;
    files*)
      while IFS= read -r line; do
        case " ${files#files} " in
          '  ' | *" ${line##*.} "*) COMPREPLY+=("$line") ;;
          *) [ ! -d "${line/#\~/$HOME}" ] || COMPREPLY+=("$line") ;;
        esac
      done < <(compgen -f -- "$typed") ;;
  esac
  [ -z "$files" ] || compopt -o filenames 2>/dev/null
}
complete -F _kestu kestu
)sh";

constexpr std::string_view zsh = R"sh(#compdef kestu
# zsh completion for kestu
_kestu() {
  local -a lines described bare endings
  local line files
  lines=("${(@f)$("${(Q)words[1]}" --complete zsh "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}")
  files=${lines[1]#files:}
  for line in "${(@)lines[2,-1]}"; do
    if [[ $line = *$'\t' ]]; then
      bare+=("${line%$'\t'}")
    else
      described+=("${${${line%%$'\t'*}//\\/\\\\}//:/\\:}:${line#*$'\t'}")
    fi
  done
  (( $#described )) && _describe -t values kestu described
  (( $#bare )) && compadd -a bare
  case $files in
    folders) _files -/ ;;
    files) _files ;;
    files*) endings=(${=files#files}); _files -g "*.(${(j:|:)endings})" ;;
  esac
}
if [ "$funcstack[1]" = "_kestu" ]; then
  _kestu "$@"
else
  compdef _kestu kestu
fi
)sh";

constexpr std::string_view fish = R"sh(# fish completion for kestu
function __kestu_complete
    set -l typed (commandline -opc)
    set -l word (string unescape -- (commandline -ct))
    set -l lines ($typed[1] --complete fish $typed[2..-1] "$word" 2>/dev/null)
    switch $lines[1]
        case files:folders
            __fish_complete_directories "$word" ''
        case files:files
            __fish_complete_path "$word"
        case 'files:files *'
            __fish_complete_directories "$word" ''
            set -l path (string replace -r '^~(?=/)' -- "$HOME" "$word")
            for ending in (string split ' ' -- (string replace 'files:files ' '' -- $lines[1]))
                for file in $path*.$ending
                    test -d $file; or printf '%s\n' $word(string sub -s (math 1 + (string length -- $path)) -- $file)
                end
            end
    end
    printf '%s\n' $lines[2..-1]
end
complete -c kestu -f -a '(__kestu_complete)'
)sh";

} // namespace

Completions completions(const Command& root, std::vector<std::string> words, const CompletionValues& values) {
  Completions found;
  std::string word = words.empty() ? "" : words.back();
  if (!words.empty()) words.pop_back();
  if (!words.empty() && words.front() == scriptOption) {
    for (const std::string& shell : completionShells()) found.candidates.push_back({shell, ""});
    if (words.size() > 1) found.candidates.clear();
    return found;
  }
  if (words.empty() && word.starts_with(std::string(scriptOption) + "=")) {
    for (const std::string& shell : completionShells())
      found.candidates.push_back({std::string(scriptOption) + "=" + shell, ""});
    return found;
  }
  bool helpAsked = !words.empty() && words.front() == "help";
  if (helpAsked) words.erase(words.begin());
  Place place{&root};
  for (const std::string& each : words) take(place, each);
  const Command& command = *place.command;
  if (place.pending) {
    addOptionValues(found, command, *place.pending, "", word, values);
  } else if (word.starts_with('-') && !place.onlyArguments) {
    Valued valued = word.size() > 1 ? valuedIn(command, word) : Valued{};
    bool isJoined = valued.option && (word.starts_with("--") ? word[valued.value - 1] == '=' : word.size() > 2);
    if (isJoined) {
      addOptionValues(found, command, *valued.option, word.substr(0, valued.value), word.substr(valued.value), values);
    } else if (!helpAsked) {
      addOptions(found, command);
    }
  } else {
    addWords(found, place, helpAsked, values);
  }
  return found;
}

std::string completionLines(const Completions& found, std::string_view word) {
  std::string lines = "files:" + found.files + "\n";
  for (const Candidate& each : found.candidates) {
    // What can't be typed as it is isn't offered.
    if (!each.value.starts_with(word) || each.value.empty() || printable(each.value) != each.value) continue;
    lines += each.value + "\t" + printable(each.description) + "\n";
  }
  return lines;
}

std::vector<std::string> completionShells() { return {"bash", "zsh", "fish"}; }

std::optional<std::string> completionScript(const std::string& shell) {
  if (shell == "bash") return std::string(bash);
  if (shell == "zsh") return std::string(zsh);
  if (shell == "fish") return std::string(fish);
  return std::nullopt;
}

} // namespace kestu
