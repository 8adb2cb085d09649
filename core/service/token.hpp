#pragma once

#include <string>
#include <utility>

namespace kestu {

/// A sign-in's bearer token. It has no text or stream form, so that it cannot slip into a message, a log or a file;
/// `reveal` is for the request's header and the keyring alone.
class Token {
 public:
  enum class Source { service, environment };

  explicit Token(std::string secret, Source source = Source::service) : secret_(std::move(secret)), source_(source) {}

  /// Whether KESTU_TOKEN gave it, so that signing in wouldn't replace it.
  bool isFromEnvironment() const { return source_ == Source::environment; }
  const std::string& reveal() const { return secret_; }

  /// Whether the text can stand in a header: visible ASCII characters only.
  static bool wellFormed(const std::string& text) {
    for (char c : text) {
      if (c <= ' ' || c > '~') return false;
    }
    return !text.empty();
  }

 private:
  std::string secret_;
  Source source_;
};

} // namespace kestu
