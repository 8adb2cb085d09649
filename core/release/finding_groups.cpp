#include "core/console/printable.hpp"
#include "core/console/readable.hpp"
#include "core/release/finding_table.hpp"
#include "core/release/release_check.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>

namespace kestu::ReleaseCheck {

namespace {

constexpr int narrowest = 24;        ///< columns of a message, where a window is smaller than any text
constexpr std::size_t indent = 11;   ///< "  warning  "
constexpr std::size_t several = 3;   ///< languages with one fault that tell it together
constexpr std::size_t mostNamed = 3; ///< languages beside the first that are named

/// Findings that differ in nothing but the language or the file that they begin with.
struct Fault {
  const Finding* first = nullptr;
  std::size_t count = 0;
  std::set<std::string> locales;
};

std::string leadOf(const Finding& finding) { return finding.locale ? *finding.locale + ": " : ""; }

/// What a finding says behind its language or its file's path.
std::string_view bare(const Finding& finding) {
  std::string_view message = finding.message;
  if (std::string lead = leadOf(finding); !lead.empty() && message.starts_with(lead)) {
    return message.substr(lead.size());
  }
  if (finding.rule == "language" || finding.message.find('/') == std::string::npos) return message;
  static constexpr std::array<std::string_view, 6> endings = {".png ", ".jpg ", ".jpeg ", ".mov ", ".mp4 ", ".m4v "};
  std::string lower = Text::lowercased(message);
  std::size_t end = std::string_view::npos;
  for (std::string_view ending : endings) {
    if (auto found = lower.find(ending); found != std::string::npos) end = std::min(end, found + ending.size());
  }
  return lower.size() == message.size() && end != std::string_view::npos ? message.substr(end) : message;
}

std::vector<Fault> faultsOf(const Findings& findings) {
  std::vector<Fault> faults;
  std::map<std::tuple<Level, std::string_view, std::string_view>, std::size_t> known;
  for (const Finding& finding : findings) {
    auto [at, isNew] = known.try_emplace({finding.level, finding.rule, bare(finding)}, faults.size());
    if (isNew) faults.push_back({&finding, 0, {}});
    Fault& fault = faults[at->second];
    ++fault.count;
    if (finding.locale) fault.locales.insert(*finding.locale);
  }
  return faults;
}

std::string styled(Level level, const TextStyles& style) {
  std::string word = fmt::format("{:<7}", rawValue(level));
  return level == Level::error ? style.red(word) : level == Level::warning ? style.amber(word) : style.dim(word);
}

/// "3 errors, 1 warning".
std::string counts(const Findings& findings) {
  std::vector<std::string> parts;
  for (Level level : {Level::error, Level::warning, Level::note}) {
    auto count = std::count_if(findings.begin(), findings.end(), [&](const auto& each) { return each.level == level; });
    if (count > 0) parts.push_back(fmt::format("{} {}{}", count, rawValue(level), count == 1 ? "" : "s"));
  }
  return Text::joined(parts, ", ");
}

/// " (39 more alike: ca, cs, da and 36 more)"; empty for one of its own.
std::string alike(const Fault& fault) {
  if (fault.count < 2) return "";
  std::vector<std::string> others;
  for (const std::string& locale : fault.locales) {
    if (locale != fault.first->locale) others.push_back(printable(locale));
  }
  std::string text = fmt::format(" ({} more alike", fault.count - 1);
  if (others.empty()) return text + ")";
  std::size_t more = others.size() > mostNamed ? others.size() - mostNamed : 0;
  others.resize(others.size() - more);
  return text + ": " + Text::joined(others, ", ") + (more > 0 ? fmt::format(" and {} more)", more) : ")");
}

constexpr std::string_view together = "\uE000"; ///< stands for a blank that no line breaks at, for private use

/// The commands in the text, each held together that has room on a line of its own.
std::string withWholeCommands(std::string text, std::size_t columns) {
  const std::string name = "kestu ";
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + name.size())) {
    std::string_view before = std::string_view(text).substr(0, at);
    bool told = before.ends_with(": ") || before.ends_with("with "); // not a sentence about kestu
    std::size_t end = std::min(text.find_first_of(",;(", at), text.size());
    while (text[end - 1] == ' ') --end;
    if (!told || Text::columns(std::string_view(text).substr(at, end - at)) > columns) continue;
    for (std::size_t blank = text.find(' ', at); blank < end; blank = text.find(' ', blank)) {
      text.replace(blank, 1, together);
      end += together.size() - 1;
    }
  }
  return text;
}

std::string lineOf(const Fault& fault, const std::string& message, const TextStyles& style, int width) {
  const int columns = std::max(width - static_cast<int>(indent), narrowest);
  std::string folded = TextStyle::wrap(
      withWholeCommands(printable(readableStart(message)) + alike(fault), static_cast<std::size_t>(columns)), columns);
  for (std::size_t at = folded.find(together); at != std::string::npos; at = folded.find(together, at)) {
    folded.replace(at, together.size(), " ");
  }
  std::vector<std::string> lines = Text::split(folded, '\n');
  return "  " + styled(fault.first->level, style) + "  " + Text::joined(lines, "\n" + std::string(indent, ' '));
}

std::string group(const std::string& heading, const Findings& findings, const TextStyles& style, int width) {
  std::string text = heading.empty() ? "" : style.bold(heading) + "  " + style.dim(counts(findings)) + "\n";
  std::vector<std::string> lines;
  const bool shared = heading == "Several languages";
  for (const Fault& fault : faultsOf(findings)) {
    std::string message = fault.first->message;
    std::string lead = leadOf(*fault.first);
    if (!shared && !lead.empty() && message.starts_with(lead)) message.erase(0, lead.size());
    lines.push_back(lineOf(fault, message, style, width));
  }
  return text + Text::joined(lines, "\n");
}

} // namespace

std::string groups(const Findings& findings, const TextStyles& style, int width) {
  Findings shared;
  std::map<std::string, Findings> languages;
  Findings rest;
  std::map<std::tuple<Level, std::string_view, std::string_view>, std::set<std::string>> having;
  for (const Finding& each : findings) {
    if (each.locale) having[{each.level, each.rule, bare(each)}].insert(*each.locale);
  }
  for (const Finding& each : findings) {
    bool isShared = each.locale && having[{each.level, each.rule, bare(each)}].size() >= several;
    (isShared ? shared : each.locale ? languages[*each.locale] : rest).push_back(each);
  }
  std::vector<std::string> all;
  if (!shared.empty()) all.push_back(group("Several languages", shared, style, width));
  for (const auto& [locale, own] : languages) all.push_back(group(printable(locale), own, style, width));
  std::string heading = all.empty() ? "" : "All else";
  if (!rest.empty()) all.push_back(group(heading, rest, style, width));
  return Text::joined(all, "\n");
}

} // namespace kestu::ReleaseCheck
