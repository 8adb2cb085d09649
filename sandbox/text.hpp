#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kestu::sandbox {

using Moment = std::chrono::system_clock::time_point;

// ISO 8601 in UTC, whole seconds.
std::string isoText(Moment moment);
// Of exactly that form; none when it isn't one.
std::optional<Moment> momentOf(const std::string& text);

// Random bytes come from OpenSSL; throws std::runtime_error when it has none.
std::string randomHex(std::size_t bytes);
std::string randomUuid();     // upper case
std::string randomUserCode(); // as WXYZ-2345, without letters and digits that are taken for one another

// Of a whole file in lower-case hexadecimal, read in blocks; throws std::runtime_error when it can't be read.
std::string md5OfFile(const std::string& path);

std::string lowered(std::string_view text); // ASCII letters only
std::string htmlEscaped(std::string_view text);
std::string platformName(std::string_view platform); // "iOS" for "ios"
// "1 screenshot", "2 screenshots"
std::string counted(std::size_t count, std::string_view one, std::string_view several);

} // namespace kestu::sandbox
