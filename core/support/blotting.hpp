#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// The text with the secret blotted out, as it is and as it stands in JSON.
std::string blotted(std::string_view text, std::string_view secret);

/// The same within the texts of a JSON document, whose keys and other values stay.
std::string blottedJSON(std::string_view document, std::string_view secret);

} // namespace kestu
