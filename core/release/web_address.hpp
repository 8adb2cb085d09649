#pragma once

#include <string_view>

namespace kestu {

/// A URL (RFC 3986, with letters of any script) of the scheme http or https, in any case, with a host.
bool isWebAddress(std::string_view text);

} // namespace kestu
