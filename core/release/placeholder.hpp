#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// The first words of a text that somebody meant to replace, as they are written there: "lorem ipsum", "placeholder",
/// "text here" or "your text" in any case, else "TODO", "TBD" or "FIXME" in capitals. Whole words only.
std::optional<std::string> placeholderIn(std::string_view text);

} // namespace kestu
