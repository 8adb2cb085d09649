#pragma once

#include "core/support/clock.hpp"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// A value did not have the type that its reader needs; the text names the value's path ("languages[0].locale").
class JSONError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The text is no JSON: where it stops being some, counted from 1 in bytes.
class JSONSyntaxError : public JSONError {
 public:
  JSONSyntaxError(const std::string& message, std::size_t itsLine, std::size_t itsColumn)
      : JSONError(message), line(itsLine), column(itsColumn) {}

  std::size_t line, column;
};

/// One value of a parsed document, strict on types and lenient on unknown keys; cheap to copy, keeps its document
/// alive.
class JSONValue {
 public:
  /// Parses a whole document (RFC 8259, at most 512 levels deep). Throws JSONError.
  static JSONValue parse(std::string_view text);

  JSONValue at(std::string_view key) const;                  ///< throws when absent or null
  std::optional<JSONValue> find(std::string_view key) const; ///< none when absent or null

  std::string text() const;
  std::int64_t integer() const; ///< a whole number only, also written as 12.0
  double number() const;
  std::string digits() const; ///< a number's as it was written: "12.90"
  bool boolean() const;
  Moment moment() const; ///< ISO 8601
  std::vector<JSONValue> list() const;
  std::vector<std::pair<std::string, JSONValue>> members() const; ///< of an object, by key
  std::vector<std::string> texts() const;

  bool isObject() const;
  bool isText() const;
  bool isNumber() const;
  /// The path of an object's key that stands twice in the document, so that one of its values is lost; none without.
  std::optional<std::string> repeatedKey() const;
  const std::string& path() const { return path_; }
  const nlohmann::json& raw() const { return *value_; }

  /// What `read` makes of the key's value, none when it is absent or null: find("plan", readPlan).
  template <class Read>
  auto find(std::string_view key, Read read) const {
    auto value = find(key);
    return value ? std::optional(std::invoke(read, *value)) : std::nullopt;
  }

  /// The key's list, each element through `read`.
  template <class Read>
  auto listAt(std::string_view key, Read read) const {
    std::vector<std::decay_t<decltype(std::invoke(read, *this))>> result;
    for (const JSONValue& value : at(key).list()) result.push_back(std::invoke(read, value));
    return result;
  }

  bool whenTrue(std::string_view key) const; ///< false when absent or null

 private:
  struct Document;
  JSONValue(std::shared_ptr<const Document> document, const nlohmann::json* value, std::string path)
      : document_(std::move(document)), value_(value), path_(std::move(path)) {}
  [[noreturn]] void wrong(std::string_view expected) const;

  std::shared_ptr<const Document> document_;
  const nlohmann::json* value_;
  std::string path_;
};

namespace JSON {

/// Pretty-printed with two blanks, keys sorted, slashes not escaped, one final line feed. Broken UTF-8 is replaced.
std::string pretty(const nlohmann::json& value);

/// One line, keys sorted, for request bodies.
std::string compact(const nlohmann::json& value);

} // namespace JSON

} // namespace kestu
