#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// RFC 4648, padded. Pieces of a whole go together where each but the last is a multiple of 3 bytes.
std::string base64(std::string_view bytes);

} // namespace kestu
