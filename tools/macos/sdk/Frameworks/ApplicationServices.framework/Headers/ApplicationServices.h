// Accessibility. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef const struct __attribute__((objc_bridge(id))) __AXUIElement *AXUIElementRef;
typedef struct __AXObserver *AXObserverRef;
typedef enum : SInt32 { kAXErrorSuccess = 0, kAXErrorCannotComplete = -25204, kAXErrorNoValue = -25212 } AXError;
typedef void (*AXObserverCallback)(AXObserverRef observer, AXUIElementRef element,
                                   CFStringRef notification, void *context);

extern CFStringRef kAXTrustedCheckOptionPrompt;
Boolean AXIsProcessTrusted(void);
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options);
CFTypeID AXUIElementGetTypeID(void);
AXUIElementRef AXUIElementCreateApplication(pid_t pid);
AXUIElementRef AXUIElementCreateSystemWide(void);
AXError AXUIElementCopyAttributeValue(AXUIElementRef e, CFStringRef attribute, CFTypeRef *value);
AXError AXUIElementSetAttributeValue(AXUIElementRef e, CFStringRef attribute, CFTypeRef value);
AXError AXUIElementPerformAction(AXUIElementRef e, CFStringRef action);
AXError AXUIElementSetMessagingTimeout(AXUIElementRef e, float seconds);

typedef const struct __attribute__((objc_bridge(id))) __AXValue *AXValueRef;
typedef enum : UInt32 { kAXValueTypeCGPoint = 1, kAXValueTypeCGSize = 2 } AXValueType;
CFTypeID AXValueGetTypeID(void);
AXValueRef AXValueCreate(AXValueType type, const void *value);
Boolean AXValueGetValue(AXValueRef value, AXValueType type, void *out);

AXError AXObserverCreate(pid_t pid, AXObserverCallback cb, AXObserverRef *out);
AXError AXObserverAddNotification(AXObserverRef o, AXUIElementRef e, CFStringRef n, void *context);
CFRunLoopSourceRef AXObserverGetRunLoopSource(AXObserverRef o);

#define kAXMinimizedAttribute CFSTR("AXMinimized")
#define kAXFocusedWindowAttribute CFSTR("AXFocusedWindow")
#define kAXMainAttribute CFSTR("AXMain")
#define kAXFocusedAttribute CFSTR("AXFocused")
#define kAXRaiseAction CFSTR("AXRaise")

#ifdef __cplusplus
}
#endif
