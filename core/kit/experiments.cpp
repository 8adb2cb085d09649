#include "core/kit/experiments.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <set>

namespace kestu {

using Kind = CLIError::Kind;

Variant Variant::read(const JSONValue& value) {
  Variant variant{value.at("name").text(),
                  {},
                  Percent::read(value.at("share")),
                  std::clamp<std::int64_t>(value.at("users").integer(), 0, INT32_MAX)};
  if (auto given = value.find("value")) variant.value = JSONData::copied(*given);
  variant.rate = value.find("rate", &JSONValue::number);
  variant.lift = value.find("lift", &JSONValue::number);
  variant.confidence = value.find("confidence", &JSONValue::number);
  return variant;
}

Experiment Experiment::read(const JSONValue& value) {
  Experiment experiment{value.at("experimentId").text(), value.at("name").text(), value.at("flag").text(),
                        value.at("metric").text(), value.at("state").text()};
  experiment.startedAt = value.find("startedAt", &JSONValue::moment);
  experiment.stoppedAt = value.find("stoppedAt", &JSONValue::moment);
  experiment.variants = value.listAt("variants", Variant::read);
  return experiment;
}

std::int64_t Experiment::users() const {
  std::int64_t sum = 0;
  for (const Variant& variant : variants) sum += variant.users;
  return sum;
}

namespace Experiments {

Response<std::vector<Experiment>> fetch(const Client& client, std::int64_t appId) {
  return client.get("/v1/apps/" + std::to_string(appId) + "/kit/experiments", {},
                    [](const JSONValue& answer) { return answer.listAt("experiments", Experiment::read); });
}

bool isNamed(const std::string& text, const std::vector<Experiment>& all) {
  return std::any_of(all.begin(), all.end(), [&](const Experiment& each) {
    return each.experimentId == text || Text::folded(each.name) == Text::folded(text);
  });
}

const Experiment& named(const std::string& text, const std::vector<Experiment>& all) {
  std::vector<const Experiment*> found;
  for (const Experiment& each : all) {
    if (each.experimentId == text) return each;
    if (Text::folded(each.name) == Text::folded(text)) found.push_back(&each);
  }
  if (found.size() == 1) return *found.front();
  if (found.empty()) {
    throw CLIError(Kind::notFound, "KestuKit has no experiment " + printable(text) +
                                       " for the app. kestu kit experiments list shows those it has.");
  }
  std::vector<std::string> ids;
  for (const Experiment* each : found) ids.push_back(printable(each->experimentId));
  throw CLIError(Kind::usage,
                 "Several experiments are called " + printable(text) + ". Use an ID: " + Text::orList(ids) + ".");
}

std::string reference(const Experiment& experiment, const std::vector<Experiment>& all) {
  std::vector<Experiment> others;
  std::copy_if(all.begin(), all.end(), std::back_inserter(others),
               [&](const Experiment& each) { return each.experimentId != experiment.experimentId; });
  return isNamed(experiment.name, others) ? experiment.experimentId : experiment.name;
}

std::optional<TypedVariant> TypedVariant::read(const std::string& text) {
  std::size_t equals = text.find('='), colon = text.rfind(':');
  if (equals == std::string::npos || colon == std::string::npos || colon < equals) return std::nullopt;
  auto share = Percent::typed(text.substr(colon + 1));
  TypedVariant variant{Text::trimmed(text.substr(0, equals)), text.substr(equals + 1, colon - equals - 1),
                       share.value_or(0)};
  if (variant.name.empty() || variant.share == 0) return std::nullopt;
  return variant;
}

std::optional<std::string> problem(const std::vector<TypedVariant>& variants) {
  if (variants.size() < 2) return "An experiment needs two variants or more: --variant control=false:50.";
  std::set<std::string> names;
  int sum = 0;
  for (const TypedVariant& variant : variants) {
    if (!names.insert(variant.name).second) return "The variant " + printable(variant.name) + " is given twice.";
    sum += variant.share;
  }
  if (sum != Percent::whole) return "The variants' shares add up to " + Percent::text(sum) + ", not to 100%.";
  return std::nullopt;
}

const Variant* winner(const Experiment& experiment) {
  const Variant* best = nullptr;
  for (const Variant& variant : experiment.variants) {
    if (variant.lift.value_or(0) <= 0 || variant.confidence.value_or(0) < 0.95) continue;
    if (!best || *variant.lift > *best->lift) best = &variant;
  }
  return best;
}

std::string bar(double part, double whole, int columns) {
  static constexpr std::array<const char*, 8> eighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  if (!(part > 0) || !(whole > 0)) return "";
  long count = std::lround(std::min(part / whole, 1.0) * columns * 8);
  std::string text;
  for (long full = count / 8; full > 0; --full) text += "█";
  return text + eighths.at(static_cast<std::size_t>(count % 8));
}

} // namespace Experiments

} // namespace kestu
