#include "core/changes/plan.hpp"

#include <algorithm>
#include <cctype>

namespace kestu {

namespace {

/// A UUID in lower case (RFC 9562); it becomes part of a path, so nothing else will do.
std::string readUUID(const JSONValue& value) {
  std::string text = value.text();
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    auto c = static_cast<unsigned char>(text[i]);
    if (dash ? c != '-' : !std::isxdigit(c)) throw JSONError(value.path() + " isn't a UUID");
    text[i] = static_cast<char>(std::tolower(c));
  }
  if (text.size() != 36) throw JSONError(value.path() + " isn't a UUID");
  return text;
}

} // namespace

Plan Plan::read(const JSONValue& value) {
  return {readUUID(value.at("id")), value.at("state").text(), value.at("expiresAt").moment(),
          value.find("error", &JSONValue::text)};
}

ChangeAnswer ChangeAnswer::read(const JSONValue& value) {
  return {value.find("plan", Plan::read), value.at("waits").boolean()};
}

} // namespace kestu
