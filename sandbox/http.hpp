#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestu::sandbox {

// A request as it came: header names in lower case, the query as it was written. Bodies of upload parts are left out.
struct Request {
  std::string method, path, query, body;
  std::map<std::string, std::string> headers;

  // Empty when there is none; `name` is in lower case.
  std::string header(const std::string& name) const;
};

// A request with what handlers read from it.
struct Call : Request {
  std::map<std::string, std::string> params;
  std::vector<std::string> segments; // of the path, without empty ones
  std::string token;                 // the bearer token, once it was found to be live

  // Empty when there is none.
  std::string param(const std::string& name) const;
  bool dryRun() const { return param("dryRun") == "true"; }
  // The body as a JSON object; throws Refused with 400 when it isn't one.
  nlohmann::json object() const;
};

struct Answer {
  int status = 200;
  std::string contentType = "application/json";
  std::string body;
  std::map<std::string, std::string> headers = {};
  // Answered with this file's bytes instead of `body` when set.
  std::string file = {};
  std::uint64_t fileSize = 0;

  static Answer json(const nlohmann::json& value, int status = 200);
  static Answer nothing() { return {204, "", "", {}, "", 0}; }
};

// Ends a call with a refusal, whose body is a JSON object.
class Refused : public std::exception {
 public:
  Refused(int status, nlohmann::json body) : status_(status), body_(std::move(body)) {}
  Refused(int status, const char* error, const std::string& message);

  const char* what() const noexcept override { return "refused"; }
  Answer answer() const { return Answer::json(body_, status_); }

 private:
  int status_;
  nlohmann::json body_;
};

std::vector<std::string> segmentsOf(const std::string& path);

} // namespace kestu::sandbox
