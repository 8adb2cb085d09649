#pragma once

#include "core/kit/percent.hpp"
#include "core/service/client.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What a share of an experiment's users get.
struct Variant {
  std::string name;
  JSONData value;
  int share = 0; ///< in hundredths of a percent
  std::int64_t users = 0;
  std::optional<double> rate{}, lift{}, confidence{}; ///< parts of 1

  static Variant read(const JSONValue& value);
};

/// Flags told apart by what users do.
struct Experiment {
  std::string experimentId;
  std::string name;
  std::string flag;
  std::string metric;
  std::string state; ///< "draft", "running" or "stopped"
  std::optional<Moment> startedAt{}, stoppedAt{};
  std::vector<Variant> variants{};

  static Experiment read(const JSONValue& value);

  std::int64_t users() const; ///< of all variants
};

namespace Experiments {

Response<std::vector<Experiment>> fetch(const Client& client, std::int64_t appId);

/// Whether one has the ID or the name already.
bool isNamed(const std::string& text, const std::vector<Experiment>& all);

/// The one of that ID or name, case and diacritics of a name ignored. None and several are CLIErrors.
const Experiment& named(const std::string& text, const std::vector<Experiment>& all);

/// What names it among all: its name, or its ID where the name says nothing.
std::string reference(const Experiment& experiment, const std::vector<Experiment>& all);

/// A variant as it is typed: "control=false:50".
struct TypedVariant {
  std::string name, value;
  int share = 0;

  /// None for any other text.
  static std::optional<TypedVariant> read(const std::string& text);
};

/// Why these are no experiment's variants; none where they are.
std::optional<std::string> problem(const std::vector<TypedVariant>& variants);

/// The variant that did best, where that is as good as sure: 95% or more.
const Variant* winner(const Experiment& experiment);

/// A bar of at most so many columns for a part of the whole, in eighths of a column.
std::string bar(double part, double whole, int columns);

} // namespace Experiments

} // namespace kestu
