#pragma once

#include "core/assets/video_probe.hpp"
#include "core/console/console.hpp"
#include "core/platform/token_store.hpp"
#include "core/service/client.hpp"
#include "core/service/credentials.hpp"
#include "core/support/environment.hpp"

#include <filesystem>
#include <functional>
#include <stop_token>

namespace kestu {

/// What a command reaches the outside world through; made in `main`, or by a test.
struct Context {
  const Environment& environment;
  std::filesystem::path folder;
  Clock& clock;
  Console& console;
  Transport& transport;
  TokenStore& store;
  AnnouncedVersion& announced;
  VideoProbeFunction probe; ///< none where videos cannot be measured
  std::stop_token stop;

  APIURL base() const { return APIURL::from(environment); }
  Credentials credentials() const { return {store, environment, base()}; }
  Client client(std::optional<Token> token) const {
    return {{transport, clock, console, announced, stop}, base(), std::move(token)};
  }

  /// A client with the sign-in's token; throws CLIError::signedOut() when there is none.
  Client signedIn() const;
};

} // namespace kestu
