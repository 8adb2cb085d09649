/* The declarations of Keychain Services that platform/keychain.cpp uses, for compiling it where there is no macOS SDK.
 */
#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

enum : OSStatus { errSecSuccess = 0, errSecDuplicateItem = -25299, errSecItemNotFound = -25300 };

extern const CFStringRef kSecAttrAccount;
extern const CFStringRef kSecAttrLabel;
extern const CFStringRef kSecAttrService;
extern const CFStringRef kSecClass;
extern const CFStringRef kSecClassGenericPassword;
extern const CFStringRef kSecReturnData;
extern const CFStringRef kSecValueData;

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result);
OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result);
OSStatus SecItemDelete(CFDictionaryRef query);
}
