#include "activation/macos/SystemActivation.h"

#import <AppKit/AppKit.h>

namespace varnel {

namespace {

NSRunningApplication* applicationOf(ProcessIdentifier process) {
    return [NSRunningApplication runningApplicationWithProcessIdentifier:process];
}

} // namespace

std::optional<ProcessIdentifier> frontmostRunningProcess() {
    @autoreleasepool {
        NSRunningApplication* application = NSWorkspace.sharedWorkspace.frontmostApplication;
        return application ? std::optional(ProcessIdentifier{application.processIdentifier}) : std::nullopt;
    }
}

bool activateFromProcess(ProcessIdentifier giver, ProcessIdentifier process) {
    @autoreleasepool {
        NSRunningApplication* application = applicationOf(giver);
        return application && [applicationOf(process) activateFromApplication:application options:0];
    }
}

bool activateProcess(ProcessIdentifier process) {
    @autoreleasepool {
        return [applicationOf(process) activateWithOptions:0];
    }
}

std::optional<std::string> bundleIdentifierOf(ProcessIdentifier process) {
    @autoreleasepool {
        NSString* identifier = applicationOf(process).bundleIdentifier;
        return identifier ? std::optional<std::string>(identifier.UTF8String) : std::nullopt;
    }
}

} // namespace varnel
