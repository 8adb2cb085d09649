#pragma once

#include "core/listing/listing_field.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// How much a finding weighs, the heaviest first.
enum class Level { error, warning, note };

std::string_view rawValue(Level level);

/// One thing that a check found.
struct Finding {
  Level level = Level::error;
  std::string rule;                    ///< a short word that names the check
  std::optional<std::string> locale{}; ///< the language that it is about
  std::string message;                 ///< whole sentences; what came from outside stands in it as it was
  std::vector<ListingField> fields{};  ///< of the language, that it is about

  bool operator==(const Finding&) const = default;
};

using Findings = std::vector<Finding>;

/// An array of objects with the fields' names.
JSONData encoded(const Findings& findings);

} // namespace kestu
