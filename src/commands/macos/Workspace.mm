#include "commands/macos/SystemCommands.h"

#import <AppKit/AppKit.h>

namespace varnel {

namespace {

NSString* nativeText(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

std::string plainText(NSString* text) {
    const char* bytes = text.UTF8String;
    return bytes ? bytes : "";
}

NSURL* nativeURL(const FileURL& url) { return [NSURL fileURLWithPath:nativeText(url.path)]; }

bool openURL(const FileURL& url) {
    @autoreleasepool {
        return [NSWorkspace.sharedWorkspace openURL:nativeURL(url)];
    }
}

std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) {
    @autoreleasepool {
        NSURL* url =
            [NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:nativeText(bundleIdentifier)];
        return url ? std::optional(FileURL::fromPath(plainText(url.path))) : std::nullopt;
    }
}

void openApplication(const FileURL& url, const OpenConfiguration& configuration, OpenCompletion completion) {
    @autoreleasepool {
        NSWorkspaceOpenConfiguration* native = [NSWorkspaceOpenConfiguration configuration];
        native.activates = configuration.activates;
        native.allowsRunningApplicationSubstitution = configuration.allowsRunningApplicationSubstitution;
        // The block holds its own copy of the completion and runs on a queue of the system.
        [NSWorkspace.sharedWorkspace
            openApplicationAtURL:nativeURL(url)
                   configuration:native
               completionHandler:^(NSRunningApplication* application, NSError* error) {
                 OpenOutcome outcome;
                 outcome.hasApplication = application != nil;
                 if (error)
                     outcome.error = plainText(error.localizedDescription);
                 completion(outcome);
               }];
    }
}

std::optional<std::string> bundleIdentifier(const FileURL& url) {
    @autoreleasepool {
        NSString* identifier = [NSBundle bundleWithURL:nativeURL(url)].bundleIdentifier;
        return identifier ? std::optional(plainText(identifier)) : std::nullopt;
    }
}

std::optional<std::int32_t> frontmostProcessIdentifier() {
    @autoreleasepool {
        NSRunningApplication* application = NSWorkspace.sharedWorkspace.frontmostApplication;
        return application ? std::optional(std::int32_t{application.processIdentifier}) : std::nullopt;
    }
}

} // namespace

WorkspaceTable systemWorkspace() {
    return {.openURL = openURL,
            .applicationURL = applicationURL,
            .openApplication = openApplication,
            .bundleIdentifier = bundleIdentifier,
            .frontmostProcessIdentifier = frontmostProcessIdentifier};
}

} // namespace varnel
