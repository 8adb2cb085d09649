#pragma once

#include "core/service/client.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What asks users of old versions to update.
struct UpdatePrompt {
  std::string promptId;
  std::string platform;
  std::string below; ///< the version from which on nobody is asked
  bool required = false;
  bool on = false;
  std::map<std::string, std::string> messages{}; ///< by language
  std::int64_t shown = 0, updated = 0;           ///< users

  static UpdatePrompt read(const JSONValue& value);

  /// "the update prompt for iOS below 1.2"; printable.
  std::string title() const;
};

namespace UpdatePrompts {

Response<std::vector<UpdatePrompt>> fetch(const Client& client, std::int64_t appId);

/// The prompt of the ID, or the only one of a platform that is named in its place. Else a CLIError.
const UpdatePrompt& named(const std::string& text, const std::vector<UpdatePrompt>& all);

/// Whether the text is numbers with points between, as 1.2.
bool isVersion(std::string_view text);

} // namespace UpdatePrompts

} // namespace kestu
