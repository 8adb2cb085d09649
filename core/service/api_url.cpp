#include "core/service/api_url.hpp"

#include "core/console/printable.hpp"
#include "core/support/blotting.hpp"
#include "core/support/error.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

namespace kestu {

namespace {

struct URLParts {
  std::string scheme, host, port, rest;
};

std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

bool digitsOnly(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<URLParts> partsOf(std::string_view url) {
  for (char c : url) {
    if (c <= ' ' || c > '~' || c == '\\') return std::nullopt;
  }
  std::size_t colon = url.find("://");
  if (colon == std::string_view::npos) return std::nullopt;
  URLParts parts;
  parts.scheme = lowered(url.substr(0, colon));
  std::string_view after = url.substr(colon + 3);
  std::size_t end = std::min(after.find_first_of("/?#"), after.size());
  std::string_view authority = after.substr(0, end);
  parts.rest = std::string(after.substr(end));
  if (authority.find('@') != std::string_view::npos) return std::nullopt;
  std::size_t hostEnd = authority.starts_with('[') ? authority.find(']') : authority.find(':');
  if (authority.starts_with('[')) {
    if (hostEnd == std::string_view::npos) return std::nullopt;
    ++hostEnd;
  }
  hostEnd = std::min(hostEnd, authority.size());
  parts.host = lowered(authority.substr(0, hostEnd));
  std::string_view port = authority.substr(hostEnd);
  if (!port.empty() && !port.starts_with(':')) return std::nullopt;
  if (!port.empty()) port.remove_prefix(1);
  if (parts.host.empty() || !digitsOnly(port) || port.size() > 5) return std::nullopt;
  parts.port = std::string(port);
  return parts;
}

bool isLoopback(const std::string& host) {
  if (host == "localhost" || host == "[::1]") return true;
  // A dotted quad only: "127.0.0.1.example.com" is somebody's name.
  int numbers = 0;
  std::string_view rest = host;
  if (!rest.starts_with("127.")) return false;
  while (!rest.empty()) {
    std::size_t dot = std::min(rest.find('.'), rest.size());
    std::string_view number = rest.substr(0, dot);
    int value = -1;
    std::from_chars(number.data(), number.data() + number.size(), value);
    if (number.empty() || number.size() > 3 || !digitsOnly(number) || value > 255) return false;
    ++numbers;
    rest.remove_prefix(std::min(dot + 1, rest.size()));
  }
  return numbers == 4 && host.back() != '.';
}

bool allowed(const std::optional<URLParts>& parts) {
  return parts && (parts->scheme == "https" || (parts->scheme == "http" && isLoopback(parts->host)));
}

} // namespace

APIURL APIURL::from(const Environment& environment) {
  std::string text = environment.get("KESTU_API_URL").value_or("");
  if (text.empty()) text = std::string(standard);
  auto parts = partsOf(text);
  if (!allowed(parts) || parts->rest.find_first_of("?#") != std::string::npos) {
    throw CLIError(CLIError::Kind::usage,
                   "KESTU_API_URL is https://…, or http:// on this machine (127.0.0.1), without a name and password: " +
                       printable(withoutUserinfo(text)));
  }
  bool usual = (parts->scheme == "https" && parts->port == "443") || (parts->scheme == "http" && parts->port == "80");
  APIURL url;
  url.origin_ = parts->scheme + "://" + parts->host + (parts->port.empty() || usual ? "" : ":" + parts->port);
  std::string path = parts->rest;
  while (path.ends_with('/')) path.pop_back();
  url.base_ = url.origin_ + path;
  return url;
}

std::string APIURL::url(std::string_view path, const Query& query) const {
  std::string text = base_ + std::string(path);
  char separator = '?';
  for (const auto& [name, value] : query) {
    text += separator + percentEncoded(name) + "=" + percentEncoded(value);
    separator = '&';
  }
  return text;
}

bool mayTransferWith(std::string_view url) { return allowed(partsOf(url)); }

std::string percentEncoded(std::string_view text) {
  std::string encoded;
  for (char c : text) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
                 c == '_' || c == '~';
    encoded += plain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  return encoded;
}

} // namespace kestu
