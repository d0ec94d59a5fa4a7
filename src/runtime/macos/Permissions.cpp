#include "base/macos/CoreFoundationValues.h"
#include "runtime/macos/SystemPermissions.h"

#include <ApplicationServices/ApplicationServices.h>
#include <Carbon/Carbon.h>
#include <IOKit/hidsystem/IOHIDLib.h>

namespace varnel {

namespace {

bool promptForTrust() {
    const void* key = kAXTrustedCheckOptionPrompt;
    const void* value = kCFBooleanTrue;
    const CoreFoundationOwned<CFDictionaryRef> options(CFDictionaryCreate(kCFAllocatorDefault, &key, &value,
                                                                          1, &kCFTypeDictionaryKeyCallBacks,
                                                                          &kCFTypeDictionaryValueCallBacks));
    return AXIsProcessTrustedWithOptions(options.get()) != 0;
}

} // namespace

PermissionTable systemPermissions() {
    PermissionTable table;
    table.isTrusted = [] { return AXIsProcessTrusted() != 0; };
    table.promptForTrust = promptForTrust;
    table.checkListenAccess = [] {
        return static_cast<std::uint32_t>(IOHIDCheckAccess(kIOHIDRequestTypeListenEvent));
    };
    table.checkPostAccess = [] {
        return static_cast<std::uint32_t>(IOHIDCheckAccess(kIOHIDRequestTypePostEvent));
    };
    table.requestListenAccess = [] { return IOHIDRequestAccess(kIOHIDRequestTypeListenEvent); };
    table.mayPostEvents = [] { return CGPreflightPostEventAccess(); };
    table.requestPostEvents = [] { return CGRequestPostEventAccess(); };
    table.isSecureInputOn = [] { return IsSecureEventInputEnabled() != 0; };
    return table;
}

} // namespace varnel
