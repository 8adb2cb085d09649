#include "core/support/environment.hpp"

#include <cstdlib>

namespace kestu {

Environment Environment::captured() {
  std::map<std::string, std::string, std::less<>> values;
  for (const char* name : {"KESTU_TOKEN",
                           "KESTU_API_URL",
                           "KESTU_REVIEW_DEMO_PASSWORD",
                           "KESTU_NO_UPDATE_NOTIFIER",
                           "KESTU_DEBUG",
                           "NO_COLOR",
                           "TERM",
                           "CI",
                           "COLUMNS",
                           "HOME",
                           "XDG_STATE_HOME",
                           "XDG_CACHE_HOME",
                           "TZ",
                           "CURL_CA_BUNDLE",
                           "SSL_CERT_FILE",
                           "SSL_CERT_DIR",
                           "https_proxy",
                           "HTTPS_PROXY",
                           "all_proxy",
                           "ALL_PROXY",
                           "no_proxy",
                           "NO_PROXY"}) {
    if (const char* value = std::getenv(name)) values.emplace(name, value);
  }
  return Environment(std::move(values));
}

std::optional<std::string> Environment::get(std::string_view name) const {
  auto found = values_.find(name);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

} // namespace kestu
