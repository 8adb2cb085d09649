#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A UUID (RFC 9562) in lower case, which is safe in a path; none for any other text.
std::optional<std::string> uuid(std::string_view text);

} // namespace kestu
