#pragma once

#include "core/support/json.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace kestu {

/// The contents of kestu.json: the app that a repository is of, and its settings.
struct ProjectLink {
  std::int64_t appId = 0;
  std::string bundleId;
  std::optional<std::string> assetFolders; ///< the key "screenshotFolders": "names" or "ids"

  std::optional<std::string> keywords{}; ///< how their limit is counted: "bytes" or "characters"

  static ProjectLink read(const JSONValue& value);

  /// Whether a display's folder is named by Apple's placement group; a CLIError for a value that is neither.
  bool assetFolderIDs() const;

  /// Whether keywords are counted in characters rather than in bytes; a CLIError likewise.
  bool keywordCharacters() const;
};

} // namespace kestu
