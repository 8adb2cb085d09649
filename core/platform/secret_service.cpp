#include "core/platform/loaded_library.hpp"
#include "core/platform/token_store.hpp"

#include <libsecret/secret.h>

namespace kestu {

namespace {

/// libsecret's functions, loaded when the keyring is first asked.
struct Secret {
  LoadedLibrary library{"libsecret-1.so.0"};
  LoadedLibrary glib{"libglib-2.0.so.0"};

  decltype(&secret_password_lookup_sync) lookup =
      library.function<decltype(&secret_password_lookup_sync)>("secret_password_lookup_sync");
  decltype(&secret_password_store_sync) store =
      library.function<decltype(&secret_password_store_sync)>("secret_password_store_sync");
  decltype(&secret_password_clear_sync) clear =
      library.function<decltype(&secret_password_clear_sync)>("secret_password_clear_sync");
  decltype(&secret_password_free) free = library.function<decltype(&secret_password_free)>("secret_password_free");
  decltype(&g_error_free) freeError = glib.function<decltype(&g_error_free)>("g_error_free");
};

const Secret& secrets() {
  try {
    static const Secret loaded;
    return loaded;
  } catch (const NotLoaded& error) {
    throw KeyringError(error.what());
  }
}

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
  secrets().freeError(error);
  throw KeyringError(text);
}

/// The Secret Service (the freedesktop.org D-Bus interface) of the user's session.
class SecretService final : public TokenStore {
 public:
  std::optional<std::string> find(std::string_view account) override {
    GError* error = nullptr;
    gchar* secret = secrets().lookup(&schema(), nullptr, &error, "service", std::string(service).c_str(), "account",
                                     std::string(account).c_str(), nullptr);
    throwIf(error);
    if (!secret) return std::nullopt;
    std::string text = secret;
    secrets().free(secret);
    return text;
  }

  void save(std::string_view account, std::string_view secret) override {
    GError* error = nullptr;
    secrets().store(&schema(), SECRET_COLLECTION_DEFAULT, std::string(label).c_str(), std::string(secret).c_str(),
                    nullptr, &error, "service", std::string(service).c_str(), "account", std::string(account).c_str(),
                    nullptr);
    throwIf(error);
  }

  void erase(std::string_view account) override {
    GError* error = nullptr;
    secrets().clear(&schema(), nullptr, &error, "service", std::string(service).c_str(), "account",
                    std::string(account).c_str(), nullptr);
    throwIf(error);
  }
};

} // namespace

std::unique_ptr<TokenStore> systemTokenStore() { return std::make_unique<SecretService>(); }

} // namespace kestu
