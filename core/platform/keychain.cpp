#include "core/platform/token_store.hpp"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

namespace kestu {

namespace {

struct Release {
  void operator()(const void* object) const { CFRelease(object); }
};
template <class T>
using Owned = std::unique_ptr<std::remove_pointer_t<T>, Release>;

Owned<CFStringRef> text(std::string_view value) {
  return Owned<CFStringRef>(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(value.data()),
                                                    static_cast<CFIndex>(value.size()), kCFStringEncodingUTF8, false));
}

Owned<CFMutableDictionaryRef> query(std::string_view account) {
  Owned<CFMutableDictionaryRef> query(
      CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  CFDictionarySetValue(query.get(), kSecClass, kSecClassGenericPassword);
  CFDictionarySetValue(query.get(), kSecAttrService, text(TokenStore::service).get());
  CFDictionarySetValue(query.get(), kSecAttrAccount, text(account).get());
  return query;
}

void throwUnless(OSStatus status, bool missingIsFine) {
  if (status == errSecSuccess || (missingIsFine && status == errSecItemNotFound)) return;
  throw KeyringError(std::to_string(status));
}

class Keychain final : public TokenStore {
 public:
  std::optional<std::string> find(std::string_view account) override {
    auto wanted = query(account);
    CFDictionarySetValue(wanted.get(), kSecReturnData, kCFBooleanTrue);
    CFTypeRef found = nullptr;
    OSStatus status = SecItemCopyMatching(wanted.get(), &found);
    throwUnless(status, true);
    if (status == errSecItemNotFound || !found) return std::nullopt;
    Owned<CFDataRef> data(static_cast<CFDataRef>(found));
    return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data.get())),
                       static_cast<std::size_t>(CFDataGetLength(data.get())));
  }

  void save(std::string_view account, std::string_view secret) override {
    erase(account);
    auto item = query(account);
    Owned<CFDataRef> data(
        CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(secret.data()), static_cast<CFIndex>(secret.size())));
    CFDictionarySetValue(item.get(), kSecAttrLabel, text(label).get());
    CFDictionarySetValue(item.get(), kSecValueData, data.get());
    OSStatus status = SecItemAdd(item.get(), nullptr);
    for (int attempt = 0; status == errSecDuplicateItem && attempt < 10; ++attempt) {
      erase(account); // another process was quicker
      status = SecItemAdd(item.get(), nullptr);
    }
    throwUnless(status, false);
  }

  void erase(std::string_view account) override { throwUnless(SecItemDelete(query(account).get()), true); }
};

} // namespace

std::unique_ptr<TokenStore> systemTokenStore() { return std::make_unique<Keychain>(); }

} // namespace kestu
