#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace kestu {

/// The process environment, captured once at start-up, or made up by a test.
class Environment {
 public:
  Environment() = default;
  explicit Environment(std::map<std::string, std::string, std::less<>> values) : values_(std::move(values)) {}

  /// The variables that the program reads, from this process.
  static Environment captured();

  /// The variable's value, empty text included; none when it is not set.
  std::optional<std::string> get(std::string_view name) const;
  bool has(std::string_view name) const { return values_.contains(name); }

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

} // namespace kestu
