#pragma once

#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// One value that a change changes, in full: what a dry run gives to scripts.
struct ChangeItem {
  std::string place;                 ///< what it is of: a language, a display, a build
  std::string field;                 ///< which value of it: "promotional text", "groups"
  std::optional<std::string> from{}; ///< none when there is none so far, or it isn't known
  std::optional<std::string> to{};   ///< none when it is taken away
  bool hidden = false;               ///< a secret, or somebody's phone or e-mail: its values are shown nowhere
};

/// `[{"place", "field", "from", "to"}]`, null where there is no value; what is hidden says so instead of its values.
JSONData changesData(const std::vector<ChangeItem>& items);

/// An answer's JSON, pretty-printed, with the changes under the key "changes". Throws JSONError.
std::string withChanges(std::string_view body, const std::vector<ChangeItem>& items);

} // namespace kestu
