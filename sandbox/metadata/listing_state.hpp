#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace kestu::sandbox {

using FieldTexts = std::map<std::string, std::string>;   // by the field's key
using LocaleListing = std::map<std::string, FieldTexts>; // by locale

// What App Store Connect keeps once for an app, on every platform.
struct AppInfo {
  LocaleListing texts;
  std::optional<std::string> contentRights = std::nullopt;
};

struct VersionInfo {
  LocaleListing texts;
  std::optional<std::string> copyright = std::nullopt;
  FieldTexts review = {}; // the password too, which no answer has
  std::optional<bool> demoAccountRequired = std::nullopt;
  std::map<std::string, std::string> testNotes = {}; // by locale
};

struct Listings {
  std::map<std::int64_t, AppInfo> apps;
  std::map<std::string, VersionInfo> versions; // by the version's ID
};

} // namespace kestu::sandbox
