#include "core/console/console.hpp"

#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <vector>

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

/// A line broken between words, those after the first indented as far as the words of the first.
std::string sentence(const std::string& line, int width) {
  constexpr std::string_view next = "Next: ", command = ": kestu ";
  auto columns = [](std::string_view text) { return static_cast<int>(Text::columns(TextStyle::plain(text))); };
  if (columns(line) <= width || line.starts_with(next)) return line;
  bool marked = line.starts_with("✓ ") || line.starts_with("● ");
  int indent = marked ? 2 : static_cast<int>(std::min(line.find_first_not_of(' '), line.size()));
  std::size_t copied = line.rfind(command);
  if (copied == std::string::npos) return TextStyle::wrap(line, width, indent);
  std::string head = TextStyle::wrap(line.substr(0, copied + 1), width, indent);
  std::string tail = line.substr(copied + 2);
  bool fits = columns(head.substr(head.rfind('\n') + 1)) + 1 + columns(tail) <= width;
  return head + (fits ? " " : "\n" + std::string(static_cast<std::size_t>(indent), ' ')) + tail;
}

std::string sentences(std::string_view text, int width) {
  std::vector<std::string> lines = Text::split(text, '\n');
  for (std::string& line : lines) line = sentence(line, width);
  return Text::joined(lines, "\n");
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

void Console::json(std::string_view document) { out(printableJSON(document)); }

std::string Console::folded(Stream stream, std::string_view text) const {
  if (!isTerminal(stream)) return std::string(text);
  return sentences(text, terminal_.columns().value_or(width()));
}

void Console::line(std::string_view text) { spinner_.write(Stream::out, folded(Stream::out, text) + "\n"); }

void Console::error(std::string_view message) { spinner_.write(Stream::err, folded(Stream::err, message) + "\n"); }

void Console::failure(std::string_view message) {
  if (!styles() || !isTerminal(Stream::err)) return error(message);
  std::size_t end = std::min(message.find('\n'), message.size());
  std::string text;
  for (const std::string& line : Text::split(folded(Stream::err, message.substr(0, end)), '\n')) {
    text += style_.red(line) + "\n";
  }
  if (end < message.size()) text += folded(Stream::err, message.substr(end + 1)) + "\n";
  spinner_.write(Stream::err, text);
}

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
