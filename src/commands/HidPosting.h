#pragma once

#include "base/Log.h"
#include "commands/KeyboardShortcutEvent.h"

#include <cstdint>
#include <functional>

namespace varnel {

/// One key event as the HID system takes it; its location is (0, 0), every other field of its data zero.
struct HidKeyRecord {
    std::uint32_t type = 0; ///< 10 key down, 11 key up, 12 flags changed
    KeyCode keyCode = 0;
    std::uint32_t keyboardType = 0;
    std::uint32_t dataVersion = 2;
    std::uint32_t flags = 0;
    std::uint32_t options = 9; ///< set the global flags, post as HID manager event
    friend bool operator==(const HidKeyRecord&, const HidKeyRecord&) = default;
};

/// The HID system's functions. Results are those of the system: 0 is success. Called on one thread at a time.
struct HidPostingTable {
    std::function<std::uint32_t()> checkPostAccess; ///< 0 granted, 1 denied, 2 unknown
    std::function<bool()> requestPostAccess;        ///< may wait for the user
    std::function<std::uint32_t()> findService;     ///< the service "IOHIDSystem"; 0 when none
    /// Opens the service with a connection type (1: parameters); `connection` stays 0 when none results.
    std::function<std::int32_t(std::uint32_t service, std::uint32_t type, std::uint32_t& connection)> open;
    std::function<void(std::uint32_t service)> release;
    std::function<std::int32_t(std::uint32_t connection, const HidKeyRecord&)> post;
    std::function<std::int32_t(std::uint32_t connection)> close;
    std::function<std::uint32_t()> keyboardType;
};

/// Posts the events system-wide, over a connection opened for just these. After a failure in the middle
/// everything that was pressed is released again.
bool postThroughHid(const HidPostingTable& hid, const std::vector<KeyboardShortcutEvent>& events,
                    LogSink& log);

} // namespace varnel
