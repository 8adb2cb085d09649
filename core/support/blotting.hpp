#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// The text with the secret blotted out, as it is and as it stands in JSON.
std::string blotted(std::string_view text, std::string_view secret);

/// The same within the texts of a JSON document, whose keys and other values stay.
std::string blottedJSON(std::string_view document, std::string_view secret);

/// A text with an address in it, the name and password before its host blotted out. It may be any address that didn't
/// work, with characters that should have been encoded, so all up to the last @ is taken for them.
std::string withoutUserinfo(std::string_view text);

} // namespace kestu
