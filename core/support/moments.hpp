#pragma once

#include "core/support/clock.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace kestu::Moments {

/// An ISO 8601 moment with its zone ("2026-11-21T14:00:00Z", with a fraction, with "+02:00"); none when it is not one.
/// Before 1900 and after 2190 it is the nearest moment between them.
std::optional<Moment> parse(std::string_view text);

/// The date of an HTTP header, "Sun, 22 Nov 2026 02:30:00 GMT", within the same bounds; none when it is not one.
std::optional<Moment> parseHTTP(std::string_view text);

/// "2026-11-21T14:00:00Z", whole seconds in UTC.
std::string iso8601(Moment moment);

} // namespace kestu::Moments
