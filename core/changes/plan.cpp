#include "core/changes/plan.hpp"

#include "core/support/uuid.hpp"

namespace kestu {

namespace {

/// It becomes part of a path, so nothing else will do.
std::string readUUID(const JSONValue& value) {
  auto read = uuid(value.text());
  if (!read) throw JSONError(value.path() + " isn't a UUID");
  return *read;
}

} // namespace

Plan Plan::read(const JSONValue& value) {
  return {readUUID(value.at("id")),
          value.at("state").text(),
          value.at("expiresAt").moment(),
          value.find("error", &JSONValue::text),
          value.find("details", JobDetails::read),
          value.find("job", readUUID)};
}

ChangeAnswer ChangeAnswer::read(const JSONValue& value) {
  return {value.find("plan", Plan::read), value.at("waits").boolean(), value.find("details", JobDetails::read),
          value.find("job", readUUID)};
}

} // namespace kestu
