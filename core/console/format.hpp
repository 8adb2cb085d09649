#pragma once

#include "core/support/clock.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Values as text for people. Moments are shown in the machine's time zone, on the 24-hour clock; what words them takes
/// `now`, so that the same values give the same text.
namespace kestu::Format {

/// The user's locale as ICU names it ("de_AT"); "en_US" where the environment has none or a POSIX one.
const std::string& userLocale();

/// Grouped as the user's locale does.
std::string number(std::int64_t value);

/// "12 KB", "340 MB", "1.5 GB", in steps of 1024.
std::string bytes(std::uint64_t count);

/// Of a value in hundredths: "12%", "12.5%"; at most one decimal.
std::string percent(double value);

/// "1 minute", "45 minutes", "2 hours", "2 h 5 min", "3 days", "3 days 2 h".
std::string minutes(std::int64_t count);

/// "12 seconds", "1 min 30 s", and from an hour on as `minutes`.
std::string seconds(std::int64_t count);

/// "14:05" today, "tomorrow, 14:05", "yesterday, 14:05", "24 Nov, 14:05", and with its year when that is another one
/// and half a year or more away: "24 Nov 2027, 14:05".
std::string moment(Moment date, Moment now);

/// "just now", "5 minutes ago", "3 hours ago", "2 days ago", and after 30 days the day.
std::string ago(Moment date, Moment now);

/// How far ahead a moment is, in whole units of the largest kind: "in 6 days", "in 1 hour", "in 12 minutes", "now".
std::string until(Moment date, Moment now);

/// A calendar day "2026-11-21" as "21 Nov 2026"; any other text as it is.
std::string day(std::string_view text);

/// A word that a POSIX shell reads back as the text, quoted where it must be.
std::string shellWord(std::string_view text);

/// An answer's JSON, pretty-printed with a final line feed, without some of its top-level keys. Throws JSONError.
std::string json(std::string_view body, const std::vector<std::string>& without = {});

} // namespace kestu::Format
