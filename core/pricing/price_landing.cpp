#include "core/pricing/price_landing.hpp"

#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <vector>

namespace kestu {

namespace {

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

/// A text, or a number by its digits; anything else as a text that nothing takes.
std::string wordOf(const JSONValue& value) {
  if (value.isText()) return value.text();
  return value.isNumber() ? value.digits() : "";
}

} // namespace

std::optional<Decimal> percentage(std::string_view text) {
  if (text.ends_with('%')) text.remove_suffix(1);
  bool plain = std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || c == '.'; });
  return plain ? Decimal::parse(text) : std::nullopt;
}

std::string percentText(const Decimal& percent) { return percent.text() + "%"; }

Decimal PriceLanding::niceWithin() { return Decimal::of(5); }

void PriceLanding::setRound(const std::string& name, const std::string& value) {
  if (value != "at-least" && value != "at-most" && value != "closest") {
    refuse(name + " is at-least, at-most or closest");
  }
  round = value;
}

void PriceLanding::setNice(const std::string& name, const std::string& value) {
  auto given = percentage(value);
  if (!given || *given < Decimal::of(1) || *given > Decimal::of(15)) refuse(name + " is a percentage from 1% to 15%");
  nice = given;
}

void PriceLanding::setEnding(const std::string& name, const std::string& value) {
  if (value != "99" && value != "00") refuse(name + " is 99 or 00");
  ending = value;
}

Query PriceLanding::query() const {
  Query query;
  if (round) query.emplace_back("round", *round);
  if (nice) query.emplace_back("nice", nice->text());
  if (ending) query.emplace_back("ending", *ending);
  return query;
}

JSONData PriceLanding::json() const {
  JSONData object = JSONData::object();
  object.setGiven("round", round);
  if (nice) object.set("nice", JSONData::decimal(nice->text()));
  return object.setGiven("ending", ending);
}

std::string PriceLanding::options() const {
  std::string text;
  if (round) text += " --round " + *round;
  if (nice) text += *nice == niceWithin() ? " --nice" : " --nice-within " + nice->text();
  if (ending) text += " --nice-ending " + *ending;
  return text;
}

PriceLanding PriceLanding::read(const JSONValue& value) {
  PriceLanding landing;
  std::vector<std::string> wrong;
  auto take = [&](const char* key, void (PriceLanding::*set)(const std::string&, const std::string&)) {
    try {
      if (auto given = value.find(key)) (landing.*set)(key, wordOf(*given));
    } catch (const CLIError& error) {
      wrong.push_back(error.description);
    }
  };
  take("round", &PriceLanding::setRound);
  take("nice", &PriceLanding::setNice);
  take("ending", &PriceLanding::setEnding);
  if (!wrong.empty()) refuse(Text::joined(wrong, "; "));
  return landing;
}

} // namespace kestu
