#include "sandbox/http.hpp"

#include <utility>

namespace kestu::sandbox {

using nlohmann::json;

std::string Request::header(const std::string& name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string() : found->second;
}

std::string Call::param(const std::string& name) const {
  const auto found = params.find(name);
  return found == params.end() ? std::string() : found->second;
}

json Call::object() const {
  auto value = json::parse(body, nullptr, false);
  if (!value.is_object()) throw Refused(400, "invalid_request", "The body isn't a JSON object.");
  return value;
}

Answer Answer::json(const nlohmann::json& value, int status) {
  Answer answer;
  answer.status = status;
  // Bytes that aren't UTF-8 can come in through a path; they must not end the call.
  answer.body = value.dump(-1, ' ', false, json::error_handler_t::replace);
  return answer;
}

Refused::Refused(int status, const char* error, const std::string& message)
    : Refused(status, json{{"error", error}, {"message", message}}) {}

std::vector<std::string> segmentsOf(const std::string& path) {
  std::vector<std::string> segments;
  std::string segment;
  for (const char c : path + "/") {
    if (c != '/') {
      segment += c;
    } else if (!segment.empty()) {
      segments.push_back(std::exchange(segment, {}));
    }
  }
  return segments;
}

} // namespace kestu::sandbox
