#include "runtime/macos/SystemLoginItem.h"

#import <ServiceManagement/ServiceManagement.h>

namespace varnel {

namespace {

std::optional<std::string> describe(BOOL succeeded, NSError* error) {
    if (succeeded)
        return std::nullopt;
    const char* text = error.localizedDescription.UTF8String;
    return std::string(text ? text : "");
}

} // namespace

LoginItemTable systemLoginItem() {
    return {.status =
                [] {
                    @autoreleasepool {
                        return static_cast<std::int64_t>(SMAppService.mainAppService.status);
                    }
                },
            .registerService =
                [] {
                    @autoreleasepool {
                        NSError* error = nil;
                        return describe([SMAppService.mainAppService registerAndReturnError:&error], error);
                    }
                },
            .unregisterService =
                [] {
                    @autoreleasepool {
                        NSError* error = nil;
                        return describe([SMAppService.mainAppService unregisterAndReturnError:&error], error);
                    }
                }};
}

} // namespace varnel
