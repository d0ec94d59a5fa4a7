#include "commands/macos/SystemCommands.h"

#include <Carbon/Carbon.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/hidsystem/IOHIDLib.h>
#include <IOKit/hidsystem/IOHIDShared.h>
#include <IOKit/hidsystem/IOLLEvent.h>

#include <cstddef>

// IOHIDPostEvent has no successor.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

namespace varnel {

namespace {

static_assert(sizeof(NXEventData) == 48 && offsetof(NXEventData, key.keyCode) == 8 &&
              offsetof(NXEventData, key.keyboardType) == 16);
static_assert(kNXEventDataVersion == HidKeyRecord{}.dataVersion);
static_assert((kIOHIDSetGlobalEventFlags | kIOHIDPostHIDManagerEvent) == HidKeyRecord{}.options);

std::int32_t post(std::uint32_t connection, const HidKeyRecord& record) {
    NXEventData data{};
    data.key.keyCode = record.keyCode;
    data.key.keyboardType = record.keyboardType;
    return IOHIDPostEvent(connection, record.type, IOGPoint{0, 0}, &data, record.dataVersion, record.flags,
                          record.options);
}

} // namespace

HidPostingTable systemHidPosting() {
    HidPostingTable table;
    table.checkPostAccess = [] {
        return static_cast<std::uint32_t>(IOHIDCheckAccess(kIOHIDRequestTypePostEvent));
    };
    table.requestPostAccess = [] { return IOHIDRequestAccess(kIOHIDRequestTypePostEvent); };
    table.findService = [] {
        // Consumes the dictionary.
        return std::uint32_t{
            IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("IOHIDSystem"))};
    };
    table.open = [](std::uint32_t service, std::uint32_t type, std::uint32_t& connection) -> std::int32_t {
        return IOServiceOpen(service, mach_task_self(), type, &connection);
    };
    table.release = [](std::uint32_t service) { IOObjectRelease(service); };
    table.post = post;
    table.close = [](std::uint32_t connection) -> std::int32_t { return IOServiceClose(connection); };
    table.keyboardType = [] { return std::uint32_t{LMGetKbdType()}; };
    return table;
}

} // namespace varnel
