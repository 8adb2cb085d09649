#include "core/changes/store_job.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"

#include <algorithm>
#include <cstdint>

namespace kestu {

namespace {

/// A count, or how many a list has.
std::int64_t countOf(const JSONValue& value) {
  return value.isNumber() ? value.integer() : static_cast<std::int64_t>(value.list().size());
}

/// No more than can be counted with.
std::int64_t countries(const JSONValue& value) { return std::clamp<std::int64_t>(value.integer(), 0, INT32_MAX); }

} // namespace

JobDetails JobDetails::read(const JSONValue& value) {
  // They are only shown: one that isn't as expected is left out, rather than the answer to a change lost.
  auto find = [&](std::string_view key, auto read) -> decltype(value.find(key, read)) {
    try {
      return value.find(key, read);
    } catch (const JSONError&) {
      return std::nullopt;
    }
  };
  auto text = [&](std::string_view key) { return find(key, &JSONValue::text); };
  JobDetails details;
  details.product = text("product");
  details.productName = text("productName");
  details.price = find("price", Decimal::read);
  details.currency = text("currency");
  details.storefront = text("storefront");
  details.startsOn = text("startsOn");
  details.existingSubscribers = text("existingSubscribers");
  details.countries = find("countries", countOf);
  details.ownPrices = find("ownPrices", countOf);
  details.changes = value.find("changes");
  details.mode = text("mode");
  details.duration = text("duration");
  details.endsOn = text("endsOn");
  details.discount = text("discount");
  details.periods = find("periods", &JSONValue::integer);
  details.ending = find("ending", &JSONValue::boolean);
  details.onSaleIn = find("onSaleIn", countOf);
  details.addedCountries = find("addedCountries", &JSONValue::texts);
  details.removedCountries = find("removedCountries", &JSONValue::texts);
  details.newCountries = find("newCountries", &JSONValue::boolean);
  details.event = text("event");
  details.publishStart = text("publishStart");
  details.eventStart = text("eventStart");
  details.eventEnd = text("eventEnd");
  return details;
}

StoreJob StoreJob::read(const JSONValue& value) {
  StoreJob job;
  job.state = value.at("state").text();
  job.done = countries(value.at("done"));
  job.total = countries(value.at("total"));
  job.error = value.find("error", &JSONValue::text);
  job.startsOn = value.find("startsOn", &JSONValue::text);
  job.canUndo = value.at("canUndo").boolean();
  job.undoUntil = value.find("undoUntil", &JSONValue::moment);
  job.kind = value.at("kind").text();
  job.details = value.find("details", JobDetails::read);
  return job;
}

std::string Format::countries(std::int64_t count) {
  return Format::number(count) + (count == 1 ? " country" : " countries");
}

std::string Format::job(const StoreJob& job) {
  std::string so = Format::number(job.done) + " of " + countries(job.total);
  if (job.state == "running") return so + ", " + Format::number(job.left()) + " left";
  if (job.state == "done") return "done, all " + countries(job.total);
  if (job.state == "failed") {
    return "stopped at " + so + (job.error ? ": " + printable(*job.error) : "");
  }
  if (job.state == "undoing") return "being undone, " + Format::number(job.left()) + " left";
  if (job.state == "undone") return "undone in " + (job.total == 1 ? "its country" : "all " + countries(job.total));
  return printable(job.state) + ", " + so;
}

} // namespace kestu
