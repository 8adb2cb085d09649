#include "core/console/printable.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

bool isOrdinary(std::string_view text) {
  try {
    requirePrintable(std::string(text), "");
  } catch (const Broken&) {
    return false;
  }
  return text.find_first_of("\n\x1B") == std::string_view::npos;
}

} // namespace

/// What is laid out can't steer a terminal, says so at the first go, and leaves ordinary text alone.
void printables(std::string_view input) {
  std::string line = printable(input), lines = printableText(input);
  for (const std::string& text : {line, lines}) {
    require(text.find('\x1B') == std::string::npos, "no escape is left");
    requirePrintable(text, "printable text");
  }
  require(line.find('\n') == std::string::npos, "a line is one line");
  require(printable(line) == line && printableText(lines) == lines, "a second time changes nothing");
  require(printable(lines) == line, "lines as one line are the line");
  if (isOrdinary(input)) require(line == input, "ordinary text stays as it is");

  bool broken = false;
  std::u32string points = codePoints(input, &broken);
  require(UTF8::isValid(input) == !broken, "broken bytes are found");
  if (broken) return;
  std::string again;
  for (char32_t point : points) UTF8::append(again, point);
  require(again == input, "code points are written as they were read");
  require(Text::columns(line) <= 2 * points.size() + 8 * line.size(), "columns are bounded");
}

} // namespace kestu::fuzz
