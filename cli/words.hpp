#pragma once

#include "cli/command.hpp"

#include <string>
#include <vector>

namespace kestu {

/// What was typed, once it is known which command's it is.
struct Words {
  const Command* command = nullptr;
  std::vector<std::string> options{};   ///< each as one word: "--app=Daylight", "--yes"; an empty value as another
  std::vector<std::string> arguments{}; ///< all the others
};

/// Finds the command and takes its words apart. A value never begins with a dash unless it is joined by "=", and is
/// empty only where the option takes that. Throws a UsageError whose text is whole, the mistyped command before its
/// options.
Words takeApart(const Command& root, const std::vector<std::string>& typed);

/// Whether the word names the command, be it with the full stop of the sentence that it was copied from.
bool names(const std::string& word, const std::string& command);

/// The command whose help is asked for: as far down as the words lead.
const Command& lookedUp(const Command& root, const std::vector<std::string>& typed);

/// Throws the message with the command's usage.
[[noreturn]] void misused(const Command& command, const std::string& message);

/// The one of the words that was probably meant: " Did you mean push?"; empty when none is near.
std::string didYouMean(const std::string& typed, const std::vector<std::string>& words);

std::vector<std::string> subcommandWords(const Command& command);

} // namespace kestu
