// What the adapters rely on, stated a second time: constants and signatures of the system. Compiled against our own
// declarations on Linux; compile it against the system's once on a Mac whenever those have changed:
//   clang++ -std=c++20 -fobjc-arc -Wno-deprecated-declarations -fsyntax-only tools/macos/FactsCheck.mm
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <Carbon/Carbon.h>
#include <CommonCrypto/CommonDigest.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/hidsystem/IOHIDLib.h>
#include <IOKit/hidsystem/IOHIDShared.h>
#include <IOKit/hidsystem/IOLLEvent.h>
#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <os/log.h>
#include <spawn.h>
#include <stddef.h>

#include <type_traits>

#pragma clang diagnostic ignored "-Wdeprecated-declarations"
#define IS(function, ...) static_assert(std::is_same_v<decltype(&function), __VA_ARGS__>)

// Event taps and posted events.
static_assert(kCGEventKeyDown == 10 && kCGEventKeyUp == 11 && kCGEventFlagsChanged == 12);
static_assert(static_cast<uint32_t>(kCGEventTapDisabledByTimeout) == 0xFFFFFFFEU);
static_assert(static_cast<uint32_t>(kCGEventTapDisabledByUserInput) == 0xFFFFFFFFU);
static_assert(kCGHIDEventTap == 0 && kCGSessionEventTap == 1);
static_assert(kCGHeadInsertEventTap == 0 && kCGEventTapOptionDefault == 0);
static_assert(kCGEventSourceStateCombinedSessionState == 0);
static_assert(kCGKeyboardEventKeycode == 9 && kCGEventSourceUnixProcessID == 41);
static_assert(kCGEventFlagMaskShift == 0x20000 && kCGEventFlagMaskControl == 0x40000);
static_assert(kCGEventFlagMaskAlternate == 0x80000 && kCGEventFlagMaskCommand == 0x100000);
static_assert(sizeof(CGEventType) == 4 && sizeof(CGEventFlags) == 8 && sizeof(CGEventField) == 4);
static_assert(std::is_same_v<CGEventTapCallBack, CGEventRef (*)(CGEventTapProxy, CGEventType, CGEventRef, void*)>);
IS(CGEventTapCreate, CFMachPortRef (*)(CGEventTapLocation, CGEventTapPlacement, CGEventTapOptions, CGEventMask,
                                       CGEventTapCallBack, void*));
IS(CGEventTapEnable, void (*)(CFMachPortRef, bool));
IS(CGEventSourceCreate, CGEventSourceRef (*)(CGEventSourceStateID));
IS(CGEventCreate, CGEventRef (*)(CGEventSourceRef));
IS(CGEventCreateKeyboardEvent, CGEventRef (*)(CGEventSourceRef, CGKeyCode, bool));
IS(CGEventSetType, void (*)(CGEventRef, CGEventType));
IS(CGEventSetFlags, void (*)(CGEventRef, CGEventFlags));
IS(CGEventSetIntegerValueField, void (*)(CGEventRef, CGEventField, int64_t));
IS(CGEventGetIntegerValueField, int64_t (*)(CGEventRef, CGEventField));
IS(CGEventPostToPid, void (*)(pid_t, CGEventRef));
IS(CGPreflightPostEventAccess, bool (*)());
IS(CGWindowListCopyWindowInfo, CFArrayRef (*)(CGWindowListOption, CGWindowID));
IS(CGRectMakeWithDictionaryRepresentation, bool (*)(CFDictionaryRef, CGRect*));
static_assert(kCGWindowListOptionOnScreenOnly == 1 && kCGWindowListExcludeDesktopElements == 16);

// Values, run loops and preferences.
static_assert(kCFStringEncodingUTF8 == 0x08000100 && kCFNumberDoubleType == 13);
static_assert(kCFRunLoopBeforeWaiting == 32 && kCFRunLoopAfterWaiting == 64 && kCFFileDescriptorReadCallBack == 1);
static_assert(sizeof(CFRunLoopTimerContext) == 40 && sizeof(CFRunLoopObserverContext) == 40);
static_assert(sizeof(CFRunLoopSourceContext) == 80 && sizeof(CFFileDescriptorContext) == 40);
static_assert(sizeof(CFArrayCallBacks) == 40 && sizeof(CFDictionaryKeyCallBacks) == 48);
static_assert(sizeof(ProcessSerialNumber) == 8);
IS(CFMachPortCreateRunLoopSource, CFRunLoopSourceRef (*)(CFAllocatorRef, CFMachPortRef, CFIndex));
IS(CFRunLoopAddSource, void (*)(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode));
static_assert(std::is_same_v<decltype(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false)), int32_t>);
IS(CFPreferencesCopyAppValue, CFPropertyListRef (*)(CFStringRef, CFStringRef));
IS(CFPreferencesSetAppValue, void (*)(CFStringRef, CFPropertyListRef, CFStringRef));

// Accessibility.
static_assert(kAXErrorSuccess == 0 && kAXErrorCannotComplete == -25204 && kAXErrorNoValue == -25212);
IS(AXIsProcessTrusted, Boolean (*)());
IS(AXUIElementCreateApplication, AXUIElementRef (*)(pid_t));
IS(AXUIElementCopyAttributeValue, AXError (*)(AXUIElementRef, CFStringRef, CFTypeRef*));
IS(AXUIElementSetAttributeValue, AXError (*)(AXUIElementRef, CFStringRef, CFTypeRef));
IS(AXUIElementPerformAction, AXError (*)(AXUIElementRef, CFStringRef));
IS(AXUIElementSetMessagingTimeout, AXError (*)(AXUIElementRef, float));
IS(AXUIElementCreateSystemWide, AXUIElementRef (*)());
static_assert(kAXValueTypeCGPoint == 1 && kAXValueTypeCGSize == 2 && sizeof(AXValueType) == 4);
IS(AXValueCreate, AXValueRef (*)(AXValueType, const void*));
IS(AXValueGetValue, Boolean (*)(AXValueRef, AXValueType, void*));
static_assert(sizeof(CGPoint) == 16 && sizeof(CGSize) == 16 && sizeof(CGRect) == 32);

// The HID system.
static_assert(kIOHIDRequestTypePostEvent == 0 && kIOHIDAccessTypeGranted == 0 && kIOHIDAccessTypeUnknown == 2);
static_assert(kIOHIDParamConnectType == 1 && kNXEventDataVersion == 2);
static_assert((kIOHIDSetGlobalEventFlags | kIOHIDPostHIDManagerEvent) == 9);
static_assert(sizeof(NXEventData) == 48 && offsetof(NXEventData, key.keyCode) == 8);
static_assert(offsetof(NXEventData, key.keyboardType) == 16 && sizeof(IOGPoint) == 4);
IS(IOServiceGetMatchingService, io_service_t (*)(mach_port_t, CFDictionaryRef));
IS(IOServiceOpen, kern_return_t (*)(io_service_t, task_port_t, uint32_t, io_connect_t*));
IS(IOHIDPostEvent, kern_return_t (*)(io_connect_t, UInt32, IOGPoint, const NXEventData*, UInt32, IOOptionBits,
                                     IOOptionBits));
IS(IOHIDCheckAccess, IOHIDAccessType (*)(IOHIDRequestType));
IS(IOHIDRequestAccess, bool (*)(IOHIDRequestType));
IS(LMGetKbdType, UInt8 (*)());

// The workspace.
static_assert(NSEventTypeKeyDown == 10 && NSEventTypeFlagsChanged == 12);
[[maybe_unused]] static void selectors(NSURL* url, CGEventRef event) {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    void (^done)(NSRunningApplication*, NSError*) = ^(NSRunningApplication*, NSError*) {};
    [workspace openApplicationAtURL:url
                      configuration:[NSWorkspaceOpenConfiguration configuration]
                  completionHandler:done];
    NSRunningApplication* front = workspace.frontmostApplication;
    static_assert(std::is_same_v<decltype(front.processIdentifier), pid_t>);
    static_assert(std::is_same_v<decltype([front activateFromApplication:front options:0]), BOOL>);
    for (NSScreen* screen in NSScreen.screens)
        static_assert(std::is_same_v<decltype(screen.visibleFrame), CGRect> &&
                      std::is_same_v<decltype(screen.frame), CGRect>);
    static_assert(std::is_same_v<decltype([NSEvent eventWithCGEvent:event].keyCode), unsigned short>);
}

// Files, processes, log and hash.
static_assert(DISPATCH_VNODE_DELETE == 1 && DISPATCH_VNODE_WRITE == 2 && DISPATCH_VNODE_RENAME == 0x20);
static_assert(O_EVTONLY == 0x8000 && POSIX_SPAWN_CLOEXEC_DEFAULT == 0x4000 && F_FULLFSYNC == 51);
static_assert(OS_LOG_TYPE_DEBUG == 2 && OS_LOG_TYPE_ERROR == 0x10);
static_assert(CC_SHA256_DIGEST_LENGTH == 32 && std::is_same_v<CC_LONG, uint32_t>);
