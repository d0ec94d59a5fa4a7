// What the adapters rely on, stated a second time: constants and signatures of the system. Compiled against our own
// declarations on Linux; compile it against the system's once on a Mac whenever those have changed:
//   clang++ -std=c++20 -fobjc-arc -Wno-deprecated-declarations -fsyntax-only tools/macos/FactsCheck.mm
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <Carbon/Carbon.h>
#include <CommonCrypto/CommonDigest.h>
#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/hidsystem/IOHIDLib.h>
#include <IOKit/hidsystem/IOHIDShared.h>
#include <IOKit/hidsystem/IOLLEvent.h>
#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <mach/mach.h>
#include <malloc/malloc.h>
#include <notify.h>
#include <os/log.h>
#import <ServiceManagement/ServiceManagement.h>
#include <pthread.h>
#include <spawn.h>
#include <stddef.h>
#include <sys/mount.h>
#include <unistd.h>

#include <type_traits>

#pragma clang diagnostic ignored "-Wdeprecated-declarations"
// The same signature, whether or not the headers promise that nothing is thrown.
#define IS(function, ...) static_assert(std::is_convertible_v<decltype(&function), __VA_ARGS__>)

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
IS(CGRequestPostEventAccess, bool (*)());
static_assert(kCGHeadInsertEventTap == 0 && kCGEventSourceStateHIDSystemState == 1);
IS(CGWindowListCopyWindowInfo, CFArrayRef (*)(CGWindowListOption, CGWindowID));
IS(CGRectMakeWithDictionaryRepresentation, bool (*)(CFDictionaryRef, CGRect*));
static_assert(kCGWindowListOptionAll == 0 && kCGNullWindowID == 0 && sizeof(CGWindowID) == 4 && sizeof(CGPoint) == 16);
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
IS(CFRunLoopRemoveSource, void (*)(CFRunLoopRef, CFRunLoopSourceRef, CFRunLoopMode));
IS(CFRunLoopGetMain, CFRunLoopRef (*)());
IS(CFMachPortInvalidate, void (*)(CFMachPortRef));
IS(CFRunLoopTimerCreate, CFRunLoopTimerRef (*)(CFAllocatorRef, CFAbsoluteTime, CFTimeInterval, CFOptionFlags, CFIndex,
                                               CFRunLoopTimerCallBack, CFRunLoopTimerContext*));
IS(CFRunLoopTimerSetNextFireDate, void (*)(CFRunLoopTimerRef, CFAbsoluteTime));
IS(CFRunLoopObserverCreate, CFRunLoopObserverRef (*)(CFAllocatorRef, CFOptionFlags, Boolean, CFIndex,
                                                     CFRunLoopObserverCallBack, CFRunLoopObserverContext*));
IS(CFRunLoopSourceCreate, CFRunLoopSourceRef (*)(CFAllocatorRef, CFIndex, CFRunLoopSourceContext*));
IS(CFFileDescriptorCreate, CFFileDescriptorRef (*)(CFAllocatorRef, CFFileDescriptorNativeDescriptor, Boolean,
                                                   CFFileDescriptorCallBack, const CFFileDescriptorContext*));
IS(CFFileDescriptorEnableCallBacks, void (*)(CFFileDescriptorRef, CFOptionFlags));
IS(CFStringCreateWithBytes, CFStringRef (*)(CFAllocatorRef, const UInt8*, CFIndex, CFStringEncoding, Boolean));
IS(CFStringGetCString, Boolean (*)(CFStringRef, char*, CFIndex, CFStringEncoding));
IS(CFNumberGetValue, Boolean (*)(CFNumberRef, CFNumberType, void*));
IS(CFDictionaryCreate, CFDictionaryRef (*)(CFAllocatorRef, const void**, const void**, CFIndex,
                                           const CFDictionaryKeyCallBacks*, const CFDictionaryValueCallBacks*));
IS(CFLocaleCopyPreferredLanguages, CFArrayRef (*)());
IS(CFBundleGetMainBundle, CFBundleRef (*)());
IS(CFBundleGetIdentifier, CFStringRef (*)(CFBundleRef));
IS(CFPreferencesAppSynchronize, Boolean (*)(CFStringRef));
IS(notify_post, uint32_t (*)(const char*));
IS(notify_cancel, uint32_t (*)(int));
IS(notify_register_dispatch, uint32_t (*)(const char*, int*, dispatch_queue_t, notify_handler_t));
static_assert(NOTIFY_TOKEN_INVALID == -1 && std::is_same_v<notify_handler_t, void (^)(int)>);
IS(CFPreferencesSetAppValue, void (*)(CFStringRef, CFPropertyListRef, CFStringRef));

// Accessibility.
static_assert(kAXErrorSuccess == 0 && kAXErrorCannotComplete == -25204 && kAXErrorNoValue == -25212);
IS(AXIsProcessTrusted, Boolean (*)());
IS(AXIsProcessTrustedWithOptions, Boolean (*)(CFDictionaryRef));
static_assert(std::is_convertible_v<decltype(kAXTrustedCheckOptionPrompt), const void*>);
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
static_assert(kIOHIDRequestTypeListenEvent == 1 && kIOHIDAccessTypeDenied == 1);
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
IS(IsSecureEventInputEnabled, Boolean (*)());
IS(IOServiceMatching, CFMutableDictionaryRef (*)(const char*));
IS(IOServiceClose, kern_return_t (*)(io_connect_t));
IS(IOObjectRelease, kern_return_t (*)(io_object_t));

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

// The pasteboard and the login item.
static_assert(SMAppServiceStatusNotRegistered == 0 && SMAppServiceStatusEnabled == 1);
static_assert(SMAppServiceStatusRequiresApproval == 2 && SMAppServiceStatusNotFound == 3);
[[maybe_unused]] static void moreSelectors(NSData* data, NSString* type, NSError* error) {
    NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
    static_assert(std::is_same_v<decltype([pasteboard clearContents]), NSInteger>);
    static_assert(std::is_same_v<decltype([pasteboard setData:data forType:type]), BOOL>);
    NSData* read = [pasteboard dataForType:NSPasteboardTypeString];
    NSString* text = [pasteboard stringForType:NSPasteboardTypeString];
    static_assert(std::is_same_v<decltype(read.bytes), const void*> && sizeof(text.UTF8String) == 8);
    SMAppService* service = SMAppService.mainAppService;
    static_assert(std::is_same_v<decltype([service registerAndReturnError:&error]), BOOL>);
    static_assert(std::is_same_v<decltype([service unregisterAndReturnError:&error]), BOOL>);
    static_assert(sizeof(service.status) == 8 && sizeof(error.localizedDescription) == 8);
    NSString* identifier = [NSBundle bundleWithURL:[NSURL fileURLWithPath:type]].bundleIdentifier;
    static_assert(std::is_same_v<decltype(identifier.UTF8String), const char*>);
}

// Files, processes, log and hash.
static_assert(DISPATCH_VNODE_DELETE == 1 && DISPATCH_VNODE_WRITE == 2 && DISPATCH_VNODE_RENAME == 0x20);
static_assert(O_EVTONLY == 0x8000 && POSIX_SPAWN_CLOEXEC_DEFAULT == 0x4000 && F_FULLFSYNC == 51);
static_assert(OS_LOG_TYPE_DEBUG == 2 && OS_LOG_TYPE_ERROR == 0x10);
static_assert(CC_SHA256_DIGEST_LENGTH == 32 && std::is_same_v<CC_LONG, uint32_t>);
static_assert(O_CLOEXEC == 0x1000000 && DISPATCH_QUEUE_PRIORITY_DEFAULT == 0 && MNT_NOEXEC == 4);
IS(dispatch_source_set_event_handler_f, void (*)(dispatch_source_t, dispatch_function_t));
IS(dispatch_source_set_cancel_handler_f, void (*)(dispatch_source_t, dispatch_function_t));
IS(dispatch_source_cancel, void (*)(dispatch_source_t));
IS(CC_SHA256_Update, int (*)(CC_SHA256_CTX*, const void*, CC_LONG));
IS(getpeereid, int (*)(int, uid_t*, gid_t*));
IS(pthread_setname_np, int (*)(const char*));
IS(malloc_zone_pressure_relief, size_t (*)(malloc_zone_t*, size_t));
