#include "core/platform/token_store.hpp"

#include <libsecret/secret.h>

namespace kestu {

namespace {

const SecretSchema& schema() {
  static const SecretSchema schema = {"com.kestu.cli",
                                      SECRET_SCHEMA_NONE,
                                      {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                       {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                       {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                      0,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr};
  return schema;
}

void throwIf(GError* error) {
  if (!error) return;
  std::string text = error->message;
  g_error_free(error);
  throw KeyringError(text);
}

/// The Secret Service (the freedesktop.org D-Bus interface) of the user's session.
class SecretService final : public TokenStore {
 public:
  std::optional<std::string> find(std::string_view account) override {
    GError* error = nullptr;
    gchar* secret = secret_password_lookup_sync(&schema(), nullptr, &error, "service", std::string(service).c_str(),
                                                "account", std::string(account).c_str(), nullptr);
    throwIf(error);
    if (!secret) return std::nullopt;
    std::string text = secret;
    secret_password_free(secret);
    return text;
  }

  void save(std::string_view account, std::string_view secret) override {
    GError* error = nullptr;
    secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT, std::string(label).c_str(),
                               std::string(secret).c_str(), nullptr, &error, "service", std::string(service).c_str(),
                               "account", std::string(account).c_str(), nullptr);
    throwIf(error);
  }

  void erase(std::string_view account) override {
    GError* error = nullptr;
    secret_password_clear_sync(&schema(), nullptr, &error, "service", std::string(service).c_str(), "account",
                               std::string(account).c_str(), nullptr);
    throwIf(error);
  }
};

} // namespace

std::unique_ptr<TokenStore> systemTokenStore() { return std::make_unique<SecretService>(); }

} // namespace kestu
