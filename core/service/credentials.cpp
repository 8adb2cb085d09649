#include "core/service/credentials.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace {

CLIError notKept(const KeyringError& failure) {
  return {CLIError::Kind::failed, "Couldn't keep the token in the Keychain (" + printable(failure.what()) +
                                      "). Unlock it (security unlock-keychain) and run kestu login again."};
}

/// There is nothing to unlock where there is no keyring at all, which only the Keychain is known not to be.
CLIError notReached(const KeyringError& failure) {
  std::string advice = TokenStore::isKeychain ? "Unlock it (security unlock-keychain), or set KESTU_TOKEN."
                                              : "Set KESTU_TOKEN, or sign in where there is one.";
  return {CLIError::Kind::signedOut,
          "Not signed in: this machine's keyring can't be reached (" + printable(failure.what()) + "). " + advice};
}

std::optional<Token> fromEnvironment(const Environment& environment) {
  std::string text = Text::trimmed(environment.get("KESTU_TOKEN").value_or(""));
  if (text.empty()) return std::nullopt;
  if (!Token::wellFormed(text)) {
    throw CLIError(CLIError::Kind::usage,
                   "KESTU_TOKEN isn't a token: it has blanks or other characters in it that no token has.");
  }
  return Token(text, Token::Source::environment);
}

} // namespace

Credentials::Credentials(TokenStore& store, const Environment& environment, const APIURL& base)
    : store_(store), environment_(fromEnvironment(environment)),
      account_(base.isStandard() ? "token" : "token@" + base.origin()) {}

std::optional<Credentials::Current> Credentials::current() const {
  if (environment_) return Current{*environment_, Source::environment};
  if (auto token = stored()) return Current{*token, Source::stored};
  return std::nullopt;
}

std::optional<Token> Credentials::stored() const {
  try {
    auto secret = store_.find(account_);
    if (!secret || !Token::wellFormed(*secret)) return std::nullopt;
    return Token(*secret);
  } catch (const KeyringError& failure) {
    throw notReached(failure);
  }
}

void Credentials::checkKeyring() const {
  try {
    store_.check();
  } catch (const KeyringError& failure) {
    if (TokenStore::isKeychain) throw notKept(failure);
    if (!environment_) throw notReached(failure);
    throw CLIError(CLIError::Kind::failed, "This machine's keyring can't be reached (" + printable(failure.what()) +
                                               "), so a sign-in can't be kept here. Commands use KESTU_TOKEN, which is "
                                               "set: give it another token to sign in otherwise.");
  }
}

void Credentials::save(const Token& token) const {
  try {
    store_.erase(account_);
    store_.save(account_, token.reveal());
  } catch (const KeyringError& failure) {
    throw notKept(failure);
  }
}

void Credentials::remove() const {
  try {
    store_.erase(account_);
  } catch (const KeyringError& failure) {
    throw notReached(failure);
  }
}

} // namespace kestu
