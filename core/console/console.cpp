#include "core/console/console.hpp"

#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

bool isDumb(const Environment& environment) { return environment.get("TERM") == "dumb"; }

bool hasStyles(const Terminal& terminal, const Environment& environment) {
  return terminal.isTerminal(Stream::out) && !environment.has("NO_COLOR") && !environment.has("CI") &&
         !isDumb(environment);
}

Spinner::Abilities abilities(const Terminal& terminal, const Environment& environment) {
  bool redraws = terminal.isTerminal(Stream::err) && !isDumb(environment);
  return {.spins = redraws && terminal.isTerminal(Stream::out), .redraws = redraws};
}

/// Holds the spinner while a question is on the screen, however it ends.
class Question {
 public:
  explicit Question(Spinner& spinner) : spinner_(spinner) { spinner_.hold(true); }
  ~Question() { spinner_.hold(false); }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

 private:
  Spinner& spinner_;
};

} // namespace

Console::Console(Terminal& terminal, const Environment& environment, Clock& clock)
    : terminal_(terminal), givenColumns_(columnsGiven(environment)), style_(hasStyles(terminal, environment)),
      spinner_(terminal, clock, abilities(terminal, environment)) {}

int Console::width() const { return terminalWidth(terminal_, givenColumns_); }

void Console::out(std::string_view text) { spinner_.write(Stream::out, text); }

void Console::line(std::string_view text) { spinner_.write(Stream::out, std::string(text) + "\n"); }

void Console::error(std::string_view message) { spinner_.write(Stream::err, std::string(message) + "\n"); }

bool Console::ask(std::string_view question, const std::stop_token& stop) {
  Question asking(spinner_);
  spinner_.write(Stream::err, std::string(question) + " [y/N] ");
  std::optional<std::string> answer;
  try {
    answer = terminal_.readLine(stop);
  } catch (...) {
    if (isTerminal(Stream::err)) error("");
    throw;
  }
  // The user's own line feed ends the question's line; without it nothing has.
  bool ended = answer && asks();
  if (!ended && isTerminal(Stream::err)) error("");
  spinner_.atLineStart();
  std::string word = Text::lowercased(Text::trimmed(answer.value_or("")));
  return word == "y" || word == "yes";
}

void Console::status(std::string_view text) {
  if (!redraws()) return;
  // The last column stays free: some terminals wrap as soon as it is filled, and then the line can't be cleared.
  int columns = terminal_.columns().value_or(width()) - 1;
  spinner_.status(TextStyle::line(text, std::max(columns, 1)));
}

} // namespace kestu
