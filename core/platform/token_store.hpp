#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kestu {

/// The keyring could not be used; the text is its own status ("-25308", "no such interface").
class KeyringError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The system's keyring: generic passwords of service "com.kestu.cli", one for each account. Errors are KeyringError.
class TokenStore {
 public:
  static constexpr std::string_view service = "com.kestu.cli";
  static constexpr std::string_view label = "kestu CLI";
#ifdef __APPLE__
  static constexpr bool isKeychain = true;
#else
  static constexpr bool isKeychain = false;
#endif

  virtual ~TokenStore() = default;
  virtual std::optional<std::string> find(std::string_view account) = 0;

  /// Replaces an existing item.
  virtual void save(std::string_view account, std::string_view secret) = 0;

  /// A missing item is no error.
  virtual void erase(std::string_view account) = 0;

  /// Throws where nothing could be kept, by keeping something for a moment.
  void check();
};

/// This system's keyring: Keychain Services on macOS, the Secret Service elsewhere.
std::unique_ptr<TokenStore> systemTokenStore();

} // namespace kestu
