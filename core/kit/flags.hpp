#pragma once

#include "core/kit/percent.hpp"
#include "core/service/client.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A feature flag that KestuKit has for the app.
struct KitFlag {
  std::string key;
  std::string type; ///< one of Flags::types
  bool on = false;
  std::optional<JSONData> value{};
  int rollout = Percent::whole;
  std::optional<std::string> notes{};
  std::optional<Moment> updatedAt{};

  static KitFlag read(const JSONValue& value);
};

/// What is to be changed of a flag, or what a new one is to be.
struct FlagEdit {
  std::optional<bool> on{};
  std::optional<JSONData> value{};
  std::optional<int> rollout{};
  std::optional<std::string> notes{};
};

/// In the service's order.
Response<std::vector<KitFlag>> fetchKitFlags(const Client& client, std::int64_t appId);

namespace Flags {

inline constexpr std::array<std::string_view, 4> types = {"bool", "text", "number", "json"};

/// The flag of the key. None is a CLIError that names the nearest.
const KitFlag& named(const std::string& key, const std::vector<KitFlag>& flags);

/// Whether the text can be a new flag's key: code reads it from a literal without escapes, and it becomes one piece of
/// a path, which "." and ".." can't be.
bool isKey(std::string_view text);

/// The key without the full stop of the sentence that it was copied from.
std::string withoutFullStop(std::string key);

/// The key as an argument of a command line that is shown, after "--" where it looks like an option.
std::string argument(std::string_view key);

/// A value as it was typed, for a flag of the type; what doesn't fit is a CLIError of kind usage that begins with
/// `name` ("--value"). A bool flag has values only where an experiment tells its variants apart.
JSONData value(const std::string& type, const std::string& typed, const std::string& name);

/// As people read it: a text as it is, all else as JSON; printable.
std::string valueText(const JSONData& value);

/// "off", "on", "on for 25%".
std::string stateText(bool on, int rollout);

/// What differs of what the edit gives.
FlagEdit changed(const KitFlag& flag, const FlagEdit& edit);
bool isEmpty(const FlagEdit& edit);

/// The edit's fields as a request has them.
JSONData body(const FlagEdit& edit);

} // namespace Flags

} // namespace kestu
