#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

// Apple's displays, as App Store Connect describes them.
namespace kestu::sandbox::Catalog {

struct Display {
  std::string name;
  std::size_t max;
};

// Every kind's displays on the platform, in Apple's order.
nlohmann::json displays(const std::string& platform);
// Nothing when the platform has no such display for that kind.
std::optional<Display> find(const std::string& platform, const std::string& kind, const std::string& group);
bool isKind(const std::string& kind);
// "1 screenshot", "3 app previews"
std::string countedAssets(const std::string& kind, std::size_t count);

} // namespace kestu::sandbox::Catalog
