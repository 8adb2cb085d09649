#pragma once

#include "core/service/client.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// A feature flag that KestuKit has for the app.
struct KitFlag {
  std::string key;
  std::string type; ///< "bool", "text", "number" or "json"
  std::optional<bool> on{};

  static KitFlag read(const JSONValue& value);
};

/// A What's New page that KestuKit has for a version.
struct WhatsNewPage {
  std::string version;
  std::optional<std::string> platform{}; ///< none when it is every platform's
  std::string state;                     ///< "draft" or "published"

  static WhatsNewPage read(const JSONValue& value);

  bool isDraft() const { return state == "draft"; }
};

Response<std::vector<KitFlag>> fetchKitFlags(const Client& client, std::int64_t appId);
Response<std::vector<WhatsNewPage>> fetchWhatsNewPages(const Client& client, std::int64_t appId);

} // namespace kestu
