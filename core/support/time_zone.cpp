#include "core/support/time_zone.hpp"

#include "core/support/text.hpp"

#include <unicode/basictz.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <utility>

namespace kestu {

struct TimeZone::Rules {
  std::unique_ptr<icu::BasicTimeZone> zone;
};

namespace {

using Abbreviation = std::pair<std::string_view, std::string_view>;

/// Those that aren't identifiers themselves, as CET and EST are.
constexpr std::array abbreviations = {
    Abbreviation{"ADT", "America/Halifax"},     Abbreviation{"AEDT", "Australia/Sydney"},
    Abbreviation{"AEST", "Australia/Sydney"},   Abbreviation{"AKDT", "America/Juneau"},
    Abbreviation{"AKST", "America/Juneau"},     Abbreviation{"ART", "America/Argentina/Buenos_Aires"},
    Abbreviation{"AST", "America/Halifax"},     Abbreviation{"AWST", "Australia/Perth"},
    Abbreviation{"BDT", "Asia/Dhaka"},          Abbreviation{"BRT", "America/Sao_Paulo"},
    Abbreviation{"BST", "Europe/London"},       Abbreviation{"CAT", "Africa/Harare"},
    Abbreviation{"CDT", "America/Chicago"},     Abbreviation{"CEST", "Europe/Paris"},
    Abbreviation{"CLST", "America/Santiago"},   Abbreviation{"CLT", "America/Santiago"},
    Abbreviation{"COT", "America/Bogota"},      Abbreviation{"CST", "America/Chicago"},
    Abbreviation{"EAT", "Africa/Addis_Ababa"},  Abbreviation{"EDT", "America/New_York"},
    Abbreviation{"EEST", "Europe/Athens"},      Abbreviation{"GST", "Asia/Dubai"},
    Abbreviation{"HDT", "Pacific/Honolulu"},    Abbreviation{"HKT", "Asia/Hong_Kong"},
    Abbreviation{"ICT", "Asia/Bangkok"},        Abbreviation{"IRST", "Asia/Tehran"},
    Abbreviation{"IST", "Asia/Kolkata"},        Abbreviation{"JST", "Asia/Tokyo"},
    Abbreviation{"KST", "Asia/Seoul"},          Abbreviation{"MDT", "America/Denver"},
    Abbreviation{"MEST", "Europe/Paris"},       Abbreviation{"MEZ", "Europe/Berlin"},
    Abbreviation{"MESZ", "Europe/Berlin"},      Abbreviation{"MSK", "Europe/Moscow"},
    Abbreviation{"NDT", "America/St_Johns"},    Abbreviation{"NST", "America/St_Johns"},
    Abbreviation{"NZDT", "Pacific/Auckland"},   Abbreviation{"NZST", "Pacific/Auckland"},
    Abbreviation{"PDT", "America/Los_Angeles"}, Abbreviation{"PET", "America/Lima"},
    Abbreviation{"PHT", "Asia/Manila"},         Abbreviation{"PKT", "Asia/Karachi"},
    Abbreviation{"PST", "America/Los_Angeles"}, Abbreviation{"SGT", "Asia/Singapore"},
    Abbreviation{"TRT", "Europe/Istanbul"},     Abbreviation{"WAT", "Africa/Lagos"},
    Abbreviation{"WEST", "Europe/Lisbon"},      Abbreviation{"WIB", "Asia/Jakarta"},
};

/// ICU's own names from before the time zone database, some for a zone that nobody means by them, and places of
/// nothing.
constexpr std::array<std::string_view, 19> notZones = {
    "ACT", "AET", "AGT", "BET", "CNT", "CTT",     "ECT",         "IET",       "MIT",       "NET",
    "PLT", "PNT", "PRT", "SST", "VST", "Factory", "Etc/Unknown", "localtime", "posixrules"};

std::string upperCased(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return result;
}

bool sameLetters(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
  });
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

/// The identifier as the database spells it; the text itself when it has none.
std::string spelled(const std::string& text) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::StringEnumeration> all(
      icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, status));
  if (U_FAILURE(status) || !all) return text;
  std::int32_t length = 0;
  while (const char* id = all->next(&length, status)) {
    if (sameLetters(id, text)) return id;
  }
  return text;
}

icu::UnicodeString unicode(const std::string& text) { return icu::UnicodeString::fromUTF8(text); }

UDate milliseconds(std::chrono::sys_seconds time) { return static_cast<UDate>(time.time_since_epoch().count()) * 1000; }

std::chrono::local_seconds localTime(Moment moment, const icu::BasicTimeZone& zone) {
  auto time = std::chrono::floor<std::chrono::seconds>(moment);
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(milliseconds(time), 0, raw, saving, status);
  return std::chrono::local_seconds(time.time_since_epoch() + std::chrono::seconds((raw + saving) / 1000));
}

Moment momentOf(std::chrono::local_seconds time, const icu::BasicTimeZone& zone, UTimeZoneLocalOption option) {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffsetFromLocal(milliseconds(std::chrono::sys_seconds(time.time_since_epoch())), option, option, raw, saving,
                          status);
  return std::chrono::sys_seconds(time.time_since_epoch() - std::chrono::seconds((raw + saving) / 1000));
}

} // namespace

std::optional<TimeZone> TimeZone::identified(const std::string& id) {
  if (std::find(notZones.begin(), notZones.end(), id) != notZones.end()) return std::nullopt;
  if (id.find('\0') != std::string::npos) return std::nullopt; // ICU looks no further
  if (upperCased(id).starts_with("GMT") && id.find_first_of("+-", 4) != std::string::npos) {
    return std::nullopt; // ICU takes "GMT+-2"
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString canonical;
  icu::TimeZone::getCanonicalID(unicode(id), canonical, status); // refuses what it doesn't know
  if (U_FAILURE(status)) return std::nullopt;
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(unicode(id)));
  auto* rules = dynamic_cast<icu::BasicTimeZone*>(zone.get());
  if (!rules) return std::nullopt;
  icu::UnicodeString own;
  zone->getID(own);
  std::string name = utf8(own);
  if (name == UCAL_UNKNOWN_ZONE_ID) return std::nullopt; // known by the name of another alone, as Africa:Timbuktu is
  zone.release();
  return TimeZone(std::move(name), std::make_shared<const Rules>(Rules{std::unique_ptr<icu::BasicTimeZone>(rules)}));
}

std::optional<TimeZone> TimeZone::named(std::string_view text) {
  const std::string trimmed = Text::trimmed(text);
  const std::string upper = upperCased(trimmed);
  const auto* known =
      std::find_if(abbreviations.begin(), abbreviations.end(), [&](const auto& each) { return each.first == upper; });
  if (known != abbreviations.end()) return identified(std::string(known->second));
  if (upper.starts_with("UTC+") || upper.starts_with("UTC-")) return identified("GMT" + upper.substr(3));
  return identified(spelled(trimmed));
}

std::optional<TimeZone> TimeZone::ofMachine(const std::optional<std::string>& variableTZ) {
  if (!variableTZ) {
    std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
    if (!host) return std::nullopt;
    icu::UnicodeString id;
    return identified(utf8(host->getID(id)));
  }
  std::string name = *variableTZ;
  if (name.starts_with(':')) name.erase(0, 1);
  if (name.empty()) return identified("UTC");
  constexpr std::string_view folder = "/zoneinfo/";
  if (name.starts_with('/') && name.find(folder) == std::string::npos) { // a link to the zone's file, as /etc/localtime
    std::error_code failed;
    auto file = std::filesystem::canonical(name, failed);
    if (!failed) name = file.string();
  }
  if (auto at = name.rfind(folder); name.starts_with('/') && at != std::string::npos) name.erase(0, at + folder.size());
  return identified(name);
}

std::chrono::local_seconds TimeZone::local(Moment moment) const { return localTime(moment, *rules_->zone); }

TimeZone::Meant TimeZone::at(std::chrono::local_seconds time) const {
  Moment before = momentOf(time, *rules_->zone, UCAL_TZ_LOCAL_FORMER);
  Moment after = momentOf(time, *rules_->zone, UCAL_TZ_LOCAL_LATTER);
  if (before == after) return {before, Occurs::once, before};
  if (local(before) != time) return {before, Occurs::skipped, before};
  return {before, Occurs::repeated, after};
}

} // namespace kestu
