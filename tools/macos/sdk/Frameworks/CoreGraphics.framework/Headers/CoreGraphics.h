// Event taps, posted events and the window list. Our own declarations of what Varnel calls, for checking on Linux.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef double CGFloat;
typedef struct CGPoint { CGFloat x, y; } CGPoint;
typedef struct CGSize { CGFloat width, height; } CGSize;
typedef struct CGRect { CGPoint origin; CGSize size; } CGRect;
typedef int32_t CGError;
bool CGRectMakeWithDictionaryRepresentation(CFDictionaryRef dictionary, CGRect *rect);

typedef struct __CGEvent *CGEventRef;
typedef struct __CGEventSource *CGEventSourceRef;
typedef struct __CGEventTapProxy *CGEventTapProxy;
typedef uint16_t CGKeyCode;
typedef uint64_t CGEventMask;

typedef enum : uint32_t {
  kCGEventKeyDown = 10,
  kCGEventKeyUp = 11,
  kCGEventFlagsChanged = 12,
  kCGEventTapDisabledByTimeout = 0xFFFFFFFE,
  kCGEventTapDisabledByUserInput = 0xFFFFFFFF
} CGEventType;
typedef enum : uint64_t {
  kCGEventFlagMaskAlphaShift = 0x10000,
  kCGEventFlagMaskShift = 0x20000,
  kCGEventFlagMaskControl = 0x40000,
  kCGEventFlagMaskAlternate = 0x80000,
  kCGEventFlagMaskCommand = 0x100000,
  kCGEventFlagMaskSecondaryFn = 0x800000
} CGEventFlags;
typedef enum : uint32_t {
  kCGKeyboardEventAutorepeat = 8,
  kCGKeyboardEventKeycode = 9,
  kCGEventSourceUnixProcessID = 41
} CGEventField;
typedef enum : uint32_t { kCGHIDEventTap, kCGSessionEventTap, kCGAnnotatedSessionEventTap } CGEventTapLocation;
typedef enum : uint32_t { kCGHeadInsertEventTap, kCGTailAppendEventTap } CGEventTapPlacement;
typedef enum : uint32_t { kCGEventTapOptionDefault, kCGEventTapOptionListenOnly } CGEventTapOptions;
typedef enum : int32_t {
  kCGEventSourceStatePrivate = -1,
  kCGEventSourceStateCombinedSessionState = 0,
  kCGEventSourceStateHIDSystemState = 1
} CGEventSourceStateID;
typedef CGEventRef (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type, CGEventRef event,
                                         void *context);

bool CGEventSourceKeyState(CGEventSourceStateID state, CGKeyCode key);
CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place,
                               CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack cb,
                               void *context);
void CGEventTapEnable(CFMachPortRef tap, bool on);
bool CGEventTapIsEnabled(CFMachPortRef tap);
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state);
CGEventRef CGEventCreate(CGEventSourceRef source);
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool down);
void CGEventSetType(CGEventRef event, CGEventType type);
CGEventFlags CGEventGetFlags(CGEventRef event);
void CGEventSetFlags(CGEventRef event, CGEventFlags flags);
int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field);
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value);
void CGEventPostToPid(pid_t pid, CGEventRef event);
bool CGPreflightPostEventAccess(void);
bool CGRequestPostEventAccess(void);

typedef uint32_t CGWindowID;
typedef uint32_t CGWindowListOption;
enum : CGWindowListOption {
  kCGWindowListOptionAll = 0,
  kCGWindowListOptionOnScreenOnly = 1,
  kCGWindowListExcludeDesktopElements = 16
};
#define kCGNullWindowID ((CGWindowID)0)
extern const CFStringRef kCGWindowNumber;
extern const CFStringRef kCGWindowOwnerPID;
extern const CFStringRef kCGWindowLayer;
extern const CFStringRef kCGWindowName;
extern const CFStringRef kCGWindowOwnerName;
extern const CFStringRef kCGWindowAlpha;
extern const CFStringRef kCGWindowBounds;
CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relative);

#ifdef __cplusplus
}
#endif
