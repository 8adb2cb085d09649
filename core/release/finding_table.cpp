#include "core/release/finding_table.hpp"

#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <utility>

namespace kestu::ReleaseCheck {

namespace {

constexpr int narrowest = 24; ///< columns of a message, where a window is smaller than any table

std::string styled(Level level, const TextStyles& style) {
  switch (level) {
  case Level::error:
    return style.red(rawValue(level));
  case Level::warning:
    return style.amber(rawValue(level));
  case Level::note:
    return style.dim(rawValue(level));
  }
  return {};
}

std::string withoutLocale(const Finding& finding, const std::string& message) {
  std::string lead = finding.locale ? printable(*finding.locale) + ": " : "";
  return message.starts_with(lead) ? message.substr(lead.size()) : message;
}

} // namespace

Table rows(const Findings& findings) {
  Table table;
  table.headings = {"Level", "Language", "Message"};
  for (const Finding& finding : findings) {
    table.rows.push_back(
        {std::string(rawValue(finding.level)), printable(finding.locale.value_or("")), printable(finding.message)});
  }
  return table;
}

std::string table(const Findings& findings, const TextStyles& style, std::optional<int> width) {
  std::size_t levels = 0;
  std::size_t languages = 0;
  for (const Finding& finding : findings) {
    levels = std::max(levels, rawValue(finding.level).size());
    languages = std::max(languages, Text::characters(printable(finding.locale.value_or(""))));
  }
  // No language anywhere needs no column.
  int before = static_cast<int>(levels + 2 + (languages > 0 ? languages + 2 : 0));
  std::vector<std::vector<std::string>> rows;
  auto add = [&](std::string level, std::string language, std::string message) {
    if (languages > 0) {
      rows.push_back({std::move(level), std::move(language), std::move(message)});
    } else {
      rows.push_back({std::move(level), std::move(message)});
    }
  };
  for (const Finding& finding : findings) {
    std::string message = printable(finding.message);
    std::string level = styled(finding.level, style);
    std::string language = printable(finding.locale.value_or(""));
    if (!width) {
      add(level, language, message);
      continue;
    }
    std::string folded = TextStyle::wrap(withoutLocale(finding, message), std::max(*width - before, narrowest));
    for (const std::string& line : Text::split(folded, '\n')) {
      add(std::exchange(level, std::string(levels, ' ')), std::exchange(language, ""), line);
    }
  }
  return Format::table(rows);
}

} // namespace kestu::ReleaseCheck
