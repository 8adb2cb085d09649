#pragma once

#include "core/platform/token_store.hpp"
#include "core/service/api_url.hpp"
#include "core/service/token.hpp"
#include "core/support/environment.hpp"

#include <optional>
#include <string>

namespace kestu {

/// The sign-in's token: KESTU_TOKEN from the environment, which always wins, or the keyring's item for the service's
/// origin. A keyring that can't be reached is a CLIError of kind
/// signedOut.
class Credentials {
 public:
  enum class Source { environment, stored };
  struct Current {
    Token token;
    Source source;
  };

  Credentials(TokenStore& store, const Environment& environment, const APIURL& base);

  std::optional<Current> current() const;
  bool isFromEnvironment() const { return environment_.has_value(); }
  std::optional<Token> stored() const;

  /// Throws the message of a keyring that cannot keep a token, before anybody is asked to approve one.
  void checkKeyring() const;
  void save(const Token& token) const;
  void remove() const;

 private:
  TokenStore& store_;
  std::optional<Token> environment_;
  std::string account_;
};

} // namespace kestu
