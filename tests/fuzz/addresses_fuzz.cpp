#include "core/release/web_address.hpp"
#include "core/service/api_url.hpp"
#include "core/support/environment.hpp"
#include "core/support/error.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>
#include <cctype>

namespace kestu::fuzz {

namespace {

std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool isCode = text[i] == '%';
    result += isCode ? static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16)) : text[i];
    if (isCode) i += 2;
  }
  return result;
}

std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](unsigned char c) { return std::tolower(c); });
  return result;
}

/// Whether everybody who reads the URL goes to this machine: nothing in it that readers take differently.
bool isThisMachine(const std::string& url) {
  std::string host = url.substr(7, url.find_first_of("/?#", 7) - 7);
  if (std::size_t port = host.rfind(':'); port != std::string::npos && host.find(']', port) == std::string::npos) {
    require(host.find_first_not_of("0123456789", port + 1) == std::string::npos, "a port is a number: " + url);
    host.resize(port);
  }
  bool quad = host.starts_with("127.") && std::count(host.begin(), host.end(), '.') == 3;
  return host == "localhost" || host == "[::1]" || (quad && host.find_first_not_of("0123456789.") == std::string::npos);
}

} // namespace

/// Bytes and tokens go over https, or to this machine; what is put into a URL comes out of it as it was.
void addresses(std::string_view input) {
  if (mayTransferWith(input)) {
    std::string url = lowered(input);
    require(url.find_first_of("\\ \t\r\n@") == std::string::npos || url.find('@') > url.find_first_of("/?#", 8),
            "nothing that readers take differently");
    require(url.starts_with("https://") || (url.starts_with("http://") && isThisMachine(url)), "over https: " + url);
  }
  std::string encoded = percentEncoded(input);
  require(decoded(encoded) == input, "what is encoded is decoded again");
  require(encoded.find_first_of("/?#&=+ \"\\") == std::string::npos, "nothing of it parts a URL");
  if (isWebAddress(input)) require(lowered(input).starts_with("http"), "a web address is of the web");

  if (input.find('\0') != std::string_view::npos) return;
  try {
    APIURL url = APIURL::from(Environment({{"KESTU_API_URL", std::string(input)}}));
    require(mayTransferWith(url.origin()), "a token's origin is safe");
    require(url.url("/v1/apps", {{"a b", "c&d"}}) == url.url("/v1/apps") + "?a%20b=c%26d", "items follow the path");
    require(url.url("/v1").starts_with(url.origin() + "/"), "the path is the origin's");
    require(APIURL::from(Environment({{"KESTU_API_URL", url.origin()}})).origin() == url.origin(), "an origin is one");
  } catch (const CLIError& error) {
    require(error.kind == CLIError::Kind::usage, "a wrong address is a mistake in use");
    requirePrintable(error.description, "the message");
  }
}

} // namespace kestu::fuzz
