#include "config/macos/SystemPasteboard.h"

#import <AppKit/AppKit.h>

namespace varnel {

namespace {

NSPasteboard* general() { return NSPasteboard.generalPasteboard; }

NSString* nativeText(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

std::string bytesOf(NSData* data) {
    return std::string(static_cast<const char*>(data.bytes), static_cast<std::size_t>(data.length));
}

NSData* nativeData(std::string_view bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }

} // namespace

PasteboardTable systemPasteboard() {
    PasteboardTable table;
    table.clearContents = []() -> std::int64_t {
        @autoreleasepool {
            return [general() clearContents];
        }
    };
    table.setData = [](const std::string& type, std::string_view data) -> bool {
        @autoreleasepool {
            return [general() setData:nativeData(data) forType:nativeText(type)];
        }
    };
    table.setString = [](std::string_view text) -> bool {
        @autoreleasepool {
            return [general() setData:nativeData(text) forType:NSPasteboardTypeString];
        }
    };
    table.dataForType = [](const std::string& type) -> std::optional<std::string> {
        @autoreleasepool {
            NSData* data = [general() dataForType:nativeText(type)];
            return data ? std::optional(bytesOf(data)) : std::nullopt;
        }
    };
    table.string = []() -> std::optional<std::string> {
        @autoreleasepool {
            NSString* text = [general() stringForType:NSPasteboardTypeString];
            return text ? std::optional<std::string>(text.UTF8String) : std::nullopt;
        }
    };
    return table;
}

} // namespace varnel
