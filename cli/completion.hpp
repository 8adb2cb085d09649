#pragma once

#include "cli/command.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Prints a shell's script.
inline constexpr std::string_view scriptOption = "--generate-completion-script";

/// What a word may become, and what that means.
struct Candidate {
  std::string value;
  std::string description;
};

struct Completions {
  /// What the shell is to offer besides: "" nothing, "files", "folders", or files with some endings: "files ipa pkg".
  std::string files;
  std::vector<Candidate> candidates;
};

/// The values for what an option or an argument calls itself ("version", "app").
using CompletionValues = std::function<std::vector<Candidate>(std::string_view name)>;

/// What the last of the words may become, those before it being what was typed after "kestu". Options are offered once
/// a dash is typed. Of a tree that is expanded where the words lead.
Completions completions(const Command& root, std::vector<std::string> words, const CompletionValues& values);

/// As the shells' functions read it: the files on the first line, then a candidate a line, its description behind a
/// tab. Only those that begin as the word does.
std::string completionLines(const Completions& found, std::string_view word);

/// A completion script for "bash", "zsh" or "fish", which asks the program itself; none for another shell.
std::optional<std::string> completionScript(const std::string& shell);
std::vector<std::string> completionShells();

} // namespace kestu
