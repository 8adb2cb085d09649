#pragma once

#include "core/support/environment.hpp"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

using Query = std::vector<std::pair<std::string, std::string>>;

/// The service's base URL.
class APIURL {
 public:
  static constexpr std::string_view standard = "https://api.kestu.com";

  /// Of KESTU_API_URL when it is set: https anywhere, http on a loopback host only; anything else throws a usage
  /// CLIError. The standard one otherwise.
  static APIURL from(const Environment& environment);

  /// The URL of a path ("/v1/apps"), the query items percent-encoded (RFC 3986).
  std::string url(std::string_view path, const Query& query = {}) const;

  /// Scheme, host and port; a token is only ever sent to the origin that issued it.
  const std::string& origin() const { return origin_; }
  bool isStandard() const { return origin_ == standard; }

 private:
  std::string base_;
  std::string origin_;
};

/// Whether the bytes of a file may go to the URL or come from it: https anywhere, http on a loopback host only.
bool mayTransferWith(std::string_view url);

/// Percent-encodes all but unreserved characters, for a query item or one segment of a path.
std::string percentEncoded(std::string_view text);

} // namespace kestu
