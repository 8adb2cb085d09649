#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

struct KitFlag {
  std::string key;
  std::string type = "bool"; // or "text", "number", "json"
  std::optional<bool> on = std::nullopt;
};

struct WhatsNewPage {
  std::string version, platform; // empty for every platform's
  std::string state = "draft";   // or "published"
};

// By app; the newest page first.
struct KitState {
  std::map<std::int64_t, std::vector<KitFlag>> flags;
  std::map<std::int64_t, std::vector<WhatsNewPage>> pages;
};

} // namespace kestu::sandbox
