#pragma once

#include "core/service/transport.hpp"

#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

namespace kestu {

class Environment;

/// The environment's choice of a proxy, as libcurl reads it, so that a failure can name whose it is.
class ProxyChoice {
 public:
  ProxyChoice() = default;
  explicit ProxyChoice(const Environment& environment);

  /// The variable whose proxy leads to the URL ("HTTPS_PROXY"); empty where none does.
  std::string variableFor(std::string_view url) const;

 private:
  std::string variable_;
  std::string past_; ///< NO_PROXY: the hosts that are met without one
};

/// Lets another transport do it, and names the proxy that a failure may be due to.
class ProxiedTransport final : public Transport {
 public:
  ProxiedTransport(Transport& transport, ProxyChoice proxy) : transport_(transport), proxy_(std::move(proxy)) {}
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

 private:
  Transport& transport_;
  ProxyChoice proxy_;
};

} // namespace kestu
