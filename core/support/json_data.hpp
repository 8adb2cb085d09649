#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kestu {

class JSONValue;
struct JSONMember;

/// A JSON value that is to be written: what request bodies, answers and files are made of. Null to begin with.
class JSONData {
 public:
  using Array = std::vector<JSONData>;
  using Object = std::vector<JSONMember>; ///< by key, each key once

  JSONData() noexcept;
  JSONData(const JSONData& other);
  JSONData(JSONData&& other) noexcept;
  JSONData& operator=(const JSONData& other);
  JSONData& operator=(JSONData&& other) noexcept;
  ~JSONData();

  JSONData(std::int64_t value);
  JSONData(double value);
  JSONData(std::string text);
  JSONData(const char* text) : JSONData(std::string(text)) {}
  JSONData(std::string_view text) : JSONData(std::string(text)) {}
  JSONData(Array elements);
  template <std::integral T>
  requires(!std::same_as<T, bool>) JSONData(T value) : JSONData(static_cast<std::int64_t>(value)) {}
  template <std::same_as<bool> T>
  JSONData(T value) : JSONData(Truth{value}) {}
  template <class T>
  JSONData(const std::vector<T>& elements) : JSONData(Array(elements.begin(), elements.end())) {}
  template <class T>
  JSONData(const std::optional<T>& value) : JSONData(value ? JSONData(*value) : JSONData()) {}

  /// {} and [] too.
  static JSONData object(std::initializer_list<JSONMember> members = {});
  static JSONData array() { return JSONData(Array{}); }
  /// A number by its digits as JSON writes them ("12.90"), which come out as they went in.
  static JSONData decimal(std::string digits);
  /// What was read, to be written again; numbers with their digits.
  static JSONData copied(const JSONValue& value);

  /// Of an object, made of null; replaces.
  JSONData& set(std::string key, JSONData value);
  /// The same where there is a value, else nothing.
  template <class T>
  JSONData& setGiven(std::string key, const std::optional<T>& value) {
    return value ? set(std::move(key), JSONData(*value)) : *this;
  }
  void erase(std::string_view key);
  /// Of an object; none when it is absent.
  const JSONData* find(std::string_view key) const;
  JSONData* find(std::string_view key);
  /// Of a list, made of null.
  JSONData& add(JSONData value);

  bool isNull() const;
  bool isObject() const;
  /// Whether it is an object or a list without anything in it.
  bool isEmpty() const;
  const Object& members() const;   ///< of an object
  const Array& elements() const;   ///< of a list
  const std::string* text() const; ///< none when it isn't a text
  std::optional<bool> truth() const;

  /// One line, keys sorted, for request bodies. Broken UTF-8 is replaced.
  std::string compact() const;
  /// Two blanks a level, keys sorted, slashes not escaped, one final line feed.
  std::string pretty() const;

 private:
  struct Truth {
    bool value;
  };
  struct Decimal {
    std::string digits;
  };
  explicit JSONData(Truth value);
  void write(std::string& out, int indent) const; ///< a negative indent: one line

  std::variant<std::monostate, Truth, std::int64_t, double, Decimal, std::string, Array, Object> value_;
};

struct JSONMember {
  std::string key;
  JSONData value;
};

} // namespace kestu
