// Values, run loops, Mach ports, bundles and preferences. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef int16_t SInt16;
typedef uint16_t UInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef int32_t OSStatus;
typedef uint16_t UniChar;
typedef unsigned long UniCharCount;
typedef struct ProcessSerialNumber {
  UInt32 highLongOfPSN;
  UInt32 lowLongOfPSN;
} ProcessSerialNumber;

typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef const void *CFTypeRef;
#define DECLARE_VALUE(N) typedef const struct __attribute__((objc_bridge(id))) __##N *N##Ref
#define DECLARE_OBJECT(N) typedef struct __attribute__((objc_bridge_mutable(id))) __##N *N##Ref
DECLARE_VALUE(CFAllocator);
DECLARE_VALUE(CFString);
DECLARE_VALUE(CFArray);
DECLARE_VALUE(CFDictionary);
DECLARE_VALUE(CFNumber);
DECLARE_VALUE(CFBoolean);
DECLARE_VALUE(CFURL);
DECLARE_VALUE(CFData);
DECLARE_OBJECT(CFRunLoop);
DECLARE_OBJECT(CFRunLoopSource);
DECLARE_OBJECT(CFRunLoopTimer);
DECLARE_OBJECT(CFRunLoopObserver);
DECLARE_OBJECT(CFFileDescriptor);
DECLARE_OBJECT(CFMachPort);
DECLARE_OBJECT(CFBundle);
typedef struct __CFDictionary *CFMutableDictionaryRef;

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;
#define CFSTR(s) ((CFStringRef)__builtin___CFStringMakeConstantString("" s ""))

CFTypeRef CFRetain(CFTypeRef cf);
void CFRelease(CFTypeRef cf);
const UInt8 *CFDataGetBytePtr(CFDataRef data);
CFTypeID CFGetTypeID(CFTypeRef cf);
Boolean CFEqual(CFTypeRef a, CFTypeRef b);
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef b);

typedef UInt32 CFStringEncoding;
enum { kCFStringEncodingUTF8 = 0x08000100 };
CFStringRef CFStringCreateWithBytes(CFAllocatorRef a, const UInt8 *bytes, CFIndex n,
                                    CFStringEncoding e, Boolean external);
CFIndex CFStringGetLength(CFStringRef s);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding e);
Boolean CFStringGetCString(CFStringRef s, char *buffer, CFIndex size, CFStringEncoding e);

CFTypeID CFStringGetTypeID(void);
CFTypeID CFArrayGetTypeID(void);
CFTypeID CFDictionaryGetTypeID(void);
CFTypeID CFNumberGetTypeID(void);

typedef struct {
  CFIndex version;
  const void *(*retain)(CFAllocatorRef allocator, const void *value);
  void (*release)(CFAllocatorRef allocator, const void *value);
  CFStringRef (*copyDescription)(const void *value);
  Boolean (*equal)(const void *a, const void *b);
} CFArrayCallBacks;
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
typedef struct {
  CFIndex version;
  const void *(*retain)(CFAllocatorRef allocator, const void *value);
  void (*release)(CFAllocatorRef allocator, const void *value);
  CFStringRef (*copyDescription)(const void *value);
  Boolean (*equal)(const void *a, const void *b);
  unsigned long (*hash)(const void *value);
} CFDictionaryKeyCallBacks;
typedef struct {
  CFIndex version;
  const void *(*retain)(CFAllocatorRef allocator, const void *value);
  void (*release)(CFAllocatorRef allocator, const void *value);
  CFStringRef (*copyDescription)(const void *value);
  Boolean (*equal)(const void *a, const void *b);
} CFDictionaryValueCallBacks;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;
CFArrayRef CFArrayCreate(CFAllocatorRef a, const void **values, CFIndex n, const CFArrayCallBacks *callbacks);
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef a, const void **keys, const void **values, CFIndex n,
                                   const CFDictionaryKeyCallBacks *keyCallbacks,
                                   const CFDictionaryValueCallBacks *valueCallbacks);
CFIndex CFDictionaryGetCount(CFDictionaryRef d);
void CFDictionaryGetKeysAndValues(CFDictionaryRef d, const void **keys, const void **values);
CFIndex CFArrayGetCount(CFArrayRef a);
const void *CFArrayGetValueAtIndex(CFArrayRef a, CFIndex i);
const void *CFDictionaryGetValue(CFDictionaryRef d, const void *key);
typedef CFIndex CFNumberType;
enum { kCFNumberSInt32Type = 3, kCFNumberSInt64Type = 4, kCFNumberDoubleType = 13 };
CFNumberRef CFNumberCreate(CFAllocatorRef a, CFNumberType type, const void *value);
Boolean CFNumberGetValue(CFNumberRef n, CFNumberType t, void *out);

typedef CFStringRef CFRunLoopMode;
extern const CFRunLoopMode kCFRunLoopCommonModes;
CFRunLoopRef CFRunLoopGetMain(void);
extern const CFRunLoopMode kCFRunLoopDefaultMode;
void CFRunLoopRun(void);
int32_t CFRunLoopRunInMode(CFRunLoopMode mode, double seconds, Boolean returnAfterSourceHandled);
void CFRunLoopStop(CFRunLoopRef rl);
void CFRunLoopWakeUp(CFRunLoopRef rl);
void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef s, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef rl, CFRunLoopSourceRef s, CFRunLoopMode mode);

typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
typedef unsigned long CFOptionFlags;
CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);
typedef struct {
  CFIndex version;
  void *info;
  const void *(*retain)(const void *info);
  void (*release)(const void *info);
  CFStringRef (*copyDescription)(const void *info);
} CFRunLoopTimerContext;
typedef void (*CFRunLoopTimerCallBack)(CFRunLoopTimerRef timer, void *info);
CFRunLoopTimerRef CFRunLoopTimerCreate(CFAllocatorRef a, CFAbsoluteTime at, CFTimeInterval interval,
                                       CFOptionFlags flags, CFIndex order, CFRunLoopTimerCallBack callback,
                                       CFRunLoopTimerContext *context);
void CFRunLoopTimerSetNextFireDate(CFRunLoopTimerRef timer, CFAbsoluteTime at);
void CFRunLoopTimerInvalidate(CFRunLoopTimerRef timer);
void CFRunLoopAddTimer(CFRunLoopRef rl, CFRunLoopTimerRef timer, CFRunLoopMode mode);

typedef CFOptionFlags CFRunLoopActivity;
enum { kCFRunLoopBeforeWaiting = 1 << 5, kCFRunLoopAfterWaiting = 1 << 6 };
typedef struct {
  CFIndex version;
  void *info;
  const void *(*retain)(const void *info);
  void (*release)(const void *info);
  CFStringRef (*copyDescription)(const void *info);
} CFRunLoopObserverContext;
typedef void (*CFRunLoopObserverCallBack)(CFRunLoopObserverRef observer, CFRunLoopActivity activity, void *info);
CFRunLoopObserverRef CFRunLoopObserverCreate(CFAllocatorRef a, CFOptionFlags activities, Boolean repeats,
                                             CFIndex order, CFRunLoopObserverCallBack callback,
                                             CFRunLoopObserverContext *context);
void CFRunLoopObserverInvalidate(CFRunLoopObserverRef observer);
void CFRunLoopAddObserver(CFRunLoopRef rl, CFRunLoopObserverRef observer, CFRunLoopMode mode);

typedef struct {
  CFIndex version;
  void *info;
  const void *(*retain)(const void *info);
  void (*release)(const void *info);
  CFStringRef (*copyDescription)(const void *info);
  Boolean (*equal)(const void *a, const void *b);
  unsigned long (*hash)(const void *info);
  void (*schedule)(void *info, CFRunLoopRef rl, CFRunLoopMode mode);
  void (*cancel)(void *info, CFRunLoopRef rl, CFRunLoopMode mode);
  void (*perform)(void *info);
} CFRunLoopSourceContext;
CFRunLoopSourceRef CFRunLoopSourceCreate(CFAllocatorRef a, CFIndex order, CFRunLoopSourceContext *context);
void CFRunLoopSourceSignal(CFRunLoopSourceRef source);
void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);

typedef int CFFileDescriptorNativeDescriptor;
enum { kCFFileDescriptorReadCallBack = 1 };
typedef struct {
  CFIndex version;
  void *info;
  void *(*retain)(void *info);
  void (*release)(void *info);
  CFStringRef (*copyDescription)(void *info);
} CFFileDescriptorContext;
typedef void (*CFFileDescriptorCallBack)(CFFileDescriptorRef file, CFOptionFlags types, void *info);
CFFileDescriptorRef CFFileDescriptorCreate(CFAllocatorRef a, CFFileDescriptorNativeDescriptor fd,
                                           Boolean closeOnInvalidate, CFFileDescriptorCallBack callback,
                                           const CFFileDescriptorContext *context);
void CFFileDescriptorEnableCallBacks(CFFileDescriptorRef file, CFOptionFlags types);
void CFFileDescriptorInvalidate(CFFileDescriptorRef file);
CFRunLoopSourceRef CFFileDescriptorCreateRunLoopSource(CFAllocatorRef a, CFFileDescriptorRef file, CFIndex order);

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef a, CFMachPortRef port, CFIndex order);
void CFMachPortInvalidate(CFMachPortRef port);

CFArrayRef CFLocaleCopyPreferredLanguages(void);
CFBundleRef CFBundleGetMainBundle(void);
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);

typedef CFTypeRef CFPropertyListRef;
CFTypeRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef application);
void CFPreferencesSetAppValue(CFStringRef key, CFTypeRef value, CFStringRef application);
Boolean CFPreferencesAppSynchronize(CFStringRef application);
extern const CFStringRef kCFPreferencesCurrentApplication;

#ifdef __cplusplus
}
#endif
