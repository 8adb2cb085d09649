#pragma once

#include "core/service/client.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// A What's New page that KestuKit has for a version.
struct WhatsNewPage {
  std::string version;
  std::optional<std::string> platform{}; ///< none when it is every platform's
  std::string state;                     ///< "draft" or "published"
  std::vector<std::string> languages{};
  std::optional<Moment> updatedAt{};

  static WhatsNewPage read(const JSONValue& value);

  bool isDraft() const { return state == "draft"; }
};

Response<std::vector<WhatsNewPage>> fetchWhatsNewPages(const Client& client, std::int64_t appId);

namespace WhatsNew {

/// "1.2 for iOS", "1.2 for every platform"; printable.
std::string title(const std::string& version, const std::optional<std::string>& platform);

/// The page of exactly that version and platform; none when there is none.
const WhatsNewPage* find(const std::vector<WhatsNewPage>& pages, const std::string& version,
                         const std::optional<std::string>& platform);

/// The same; none is a CLIError that names the page of another platform where there is one.
const WhatsNewPage& named(const std::vector<WhatsNewPage>& pages, const std::string& version,
                          const std::optional<std::string>& platform);

} // namespace WhatsNew

} // namespace kestu
