/* The declarations of CoreFoundation that platform/keychain.cpp uses, for compiling it where there is no macOS SDK. */
#pragma once

#include <stddef.h>

extern "C" {

typedef unsigned char UInt8;
typedef unsigned char Boolean;
typedef unsigned int UInt32;
typedef int SInt32;
typedef SInt32 OSStatus;
typedef signed long CFIndex;
typedef UInt32 CFStringEncoding;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFData* CFDataRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef const struct __CFString* CFStringRef;

typedef struct {
  CFIndex version;
  const void* (*retain)(CFAllocatorRef allocator, const void* value);
  void (*release)(CFAllocatorRef allocator, const void* value);
  CFStringRef (*copyDescription)(const void* value);
  Boolean (*equal)(const void* one, const void* other);
  unsigned long (*hash)(const void* value);
} CFDictionaryKeyCallBacks;

typedef struct {
  CFIndex version;
  const void* (*retain)(CFAllocatorRef allocator, const void* value);
  void (*release)(CFAllocatorRef allocator, const void* value);
  CFStringRef (*copyDescription)(const void* value);
  Boolean (*equal)(const void* one, const void* other);
} CFDictionaryValueCallBacks;

enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

extern const CFBooleanRef kCFBooleanTrue;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

void CFRelease(CFTypeRef object);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
const UInt8* CFDataGetBytePtr(CFDataRef data);
CFIndex CFDataGetLength(CFDataRef data);
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
}
