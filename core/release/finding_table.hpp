#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/release/finding.hpp"

#include <string>

namespace kestu::ReleaseCheck {

/// Level, language and message, for spreadsheets and Markdown.
Table rows(const Findings& findings);

/// The same for people, a line each.
std::string table(const Findings& findings, const TextStyles& style);

/// For a terminal of so many columns: by language, with counts, and what several languages or files have in common
/// once.
std::string groups(const Findings& findings, const TextStyles& style, int width);

} // namespace kestu::ReleaseCheck
