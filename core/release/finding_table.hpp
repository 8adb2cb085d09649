#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/release/finding.hpp"

#include <optional>
#include <string>

namespace kestu::ReleaseCheck {

/// Level, language and message, for spreadsheets and Markdown.
Table rows(const Findings& findings);

/// The same for people. With a width, a terminal's, messages fold within their column and leave out the language that
/// the column beside them says; without one each stays a line.
std::string table(const Findings& findings, const TextStyles& style, std::optional<int> width);

} // namespace kestu::ReleaseCheck
