#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A Markdown text without its first heading, which is its title.
struct TitledMarkdown {
  std::string title; ///< without blanks around it
  std::string body;  ///< without blank lines around it
};

/// As much of Markdown (CommonMark 0.30) as a What's New page is checked by. Code is never looked into.
namespace Markdown {

/// None when there is no heading, or an empty one.
std::optional<TitledMarkdown> titled(std::string_view text);

/// What its images name, as it stands there, each once: `![…](name)`, `![…](<a name>)`, `![…][label]` with
/// `[label]: name`, and what the tags for pictures name in src, srcset and poster.
std::vector<std::string> images(std::string_view text);

} // namespace Markdown

} // namespace kestu
