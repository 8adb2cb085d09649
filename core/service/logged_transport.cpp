#include "core/service/logged_transport.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"

#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace kestu {

namespace {

/// "https://host/path", without what stands before an @ and from the query or fragment on.
std::string shown(const std::string& url) {
  std::string address = url.substr(0, url.find_first_of("?#"));
  std::size_t host = address.find("://");
  host = host == std::string::npos ? 0 : host + 3;
  std::size_t user = address.substr(0, address.find('/', host)).rfind('@');
  if (user != std::string::npos && user >= host) address.erase(host, user + 1 - host);
  return printable(address);
}

/// "12 ms", "3.4 s".
std::string took(std::chrono::nanoseconds time) {
  auto milliseconds = std::chrono::round<std::chrono::milliseconds>(time).count();
  if (milliseconds < 1000) return fmt::format("{} ms", milliseconds);
  return fmt::format("{:.1f} s", static_cast<double>(milliseconds) / 1000);
}

std::string size(std::uint64_t bytes) { return bytes < 1024 ? fmt::format("{} bytes", bytes) : Format::bytes(bytes); }

} // namespace

bool LoggedTransport::isAsked(const Environment& environment) {
  std::string value = environment.get("KESTU_DEBUG").value_or("");
  return !value.empty() && value != "0";
}

HTTPAnswer LoggedTransport::send(const HTTPRequest& request, const std::stop_token& stop) {
  HTTPRequest counted = request;
  std::uint64_t received = 0;
  if (request.sink) {
    counted.sink = [&](std::string_view bytes) {
      received += bytes.size();
      request.sink(bytes);
    };
  }
  const auto begun = clock_.continuous();
  auto tell = [&](const std::string& outcome, const std::string& more) {
    std::string sent = request.body ? ", sent " + size(request.body->length) : "";
    console_.error("debug: " + printable(request.method) + " " + shown(request.url) + ": " + outcome + " after " +
                   took(clock_.continuous() - begun) + sent + more);
  };
  try {
    HTTPAnswer answer = transport_.send(counted, stop);
    std::string more = ", received " + size(received + answer.body.size());
    if (auto name = answer.headers.find("x-request-id"); name != answer.headers.end()) {
      more += ", request " + printable(name->second);
    }
    tell(std::to_string(answer.status), more);
    return answer;
  } catch (const TransportError& error) {
    tell(std::string("no answer (") + printable(error.what()) + ")", "");
    throw;
  } catch (const Stopped&) {
    tell("stopped", "");
    throw;
  }
}

} // namespace kestu
