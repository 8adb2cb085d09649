#pragma once

#include "core/support/decimal.hpp"
#include "core/support/json.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What a job changes; each kind of job fills some of it.
struct JobDetails {
  std::optional<std::string> product, productName;
  std::optional<Decimal> price;
  std::optional<std::string> currency, storefront;
  std::optional<std::string> startsOn;            ///< a day, "2026-12-01"
  std::optional<std::string> existingSubscribers; ///< "preserved" where they keep their price, "raised"
  std::optional<std::int64_t> countries, ownPrices;
  std::optional<JSONValue> changes; ///< the rows of the preview, in the form of their kind
  std::optional<std::string> mode, duration, endsOn, discount;
  std::optional<std::int64_t> periods;
  std::optional<bool> ending;
  std::optional<std::int64_t> onSaleIn;
  std::optional<std::vector<std::string>> addedCountries, removedCountries;
  std::optional<bool> newCountries;
  std::optional<std::string> event, publishStart, eventStart, eventEnd;

  static JobDetails read(const JSONValue& value);
};

/// A change that the service applies country by country, as the hours of the App Store Connect key allow.
struct StoreJob {
  std::string state; ///< "running", "done", "failed", "undoing" or "undone"
  std::int64_t done = 0;
  std::int64_t total = 0;
  std::optional<std::string> error; ///< App Store Connect's refusal that stopped it
  std::optional<std::string> startsOn;
  bool canUndo = false;
  std::optional<Moment> undoUntil;
  std::string kind;
  std::optional<JobDetails> details;

  static StoreJob read(const JSONValue& value);

  /// How many countries are still to come, also on the way back.
  std::int64_t left() const { return state == "undoing" ? done : total - done; }
};

namespace Format {

/// "1 country", "12 countries".
std::string countries(std::int64_t count);

/// How far a job is: "12 of 175 countries, 163 left", "done, all 175 countries".
std::string job(const StoreJob& job);

} // namespace Format

} // namespace kestu
