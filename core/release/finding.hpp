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
  std::optional<std::string> file{};   ///< where it can be mended, relative to the project's root; for reports alone
  int line = 0;                        ///< in the file, from 1 on; 0 for all of it

  bool operator==(const Finding&) const = default;
};

using Findings = std::vector<Finding>;

/// An array of objects with the fields' names, without where they can be mended.
JSONData encoded(const Findings& findings);

} // namespace kestu
