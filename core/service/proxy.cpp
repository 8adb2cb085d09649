#include "core/service/proxy.hpp"

#include "core/support/environment.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <utility>

namespace kestu {

namespace {

/// The first of the variables that says something, with its name.
std::pair<std::string, std::string> firstGiven(const Environment& environment,
                                               std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (auto value = environment.get(name); value && !value->empty()) return {name, *value};
  }
  return {};
}

std::string hostOf(std::string_view url) {
  std::string_view rest = url.substr(std::min(url.find("://") + 3, url.size()));
  rest = rest.substr(0, rest.find_first_of("/?#"));
  if (rest.starts_with('[')) return std::string(rest.substr(1, rest.find(']') - 1));
  return Text::lowercased(rest.substr(0, rest.find(':')));
}

bool isBelow(const std::string& host, std::string_view domain) {
  if (domain.starts_with('.')) domain.remove_prefix(1);
  if (domain.empty() || !host.ends_with(domain)) return false;
  return host.size() == domain.size() || host[host.size() - domain.size() - 1] == '.';
}

} // namespace

ProxyChoice::ProxyChoice(const Environment& environment)
    : variable_(firstGiven(environment, {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}).first),
      past_(Text::lowercased(firstGiven(environment, {"no_proxy", "NO_PROXY"}).second)) {}

std::string ProxyChoice::variableFor(std::string_view url) const {
  if (!url.starts_with("https://")) return "";
  const std::string host = hostOf(url);
  std::string list = past_;
  std::replace(list.begin(), list.end(), ',', ' ');
  auto entries = Text::words(list);
  bool isPast = std::any_of(entries.begin(), entries.end(),
                            [&](const std::string& entry) { return entry == "*" || isBelow(host, entry); });
  return isPast ? "" : variable_;
}

HTTPAnswer ProxiedTransport::send(const HTTPRequest& request, const std::stop_token& stop) {
  try {
    return transport_.send(request, stop);
  } catch (const TransportError& error) {
    std::string variable = proxy_.variableFor(request.url);
    if (variable.empty()) throw;
    throw TransportError(std::string(error.what()) + " (through the proxy of " + variable + ")", error.sent);
  }
}

} // namespace kestu
