#pragma once

#include "base/Log.h"
#include "commands/HidPosting.h"
#include "commands/KeyboardShortcutEvent.h"

#include <memory>

namespace varnel {

/// CoreGraphics' functions for making and posting events. Objects are null when the system makes none, and
/// released with the last reference.
struct CoreGraphicsPostingTable {
    using Object = std::shared_ptr<void>;
    std::function<bool()> isTrustedForAccessibility;
    std::function<bool()> mayPostEvents;
    std::function<Object()> createSource; ///< with the combined session state
    std::function<Object(const Object& source, KeyCode keyCode, bool isKeyDown)> createKeyboardEvent;
    std::function<Object(const Object& source)> createEvent;
    std::function<void(const Object& event, std::uint32_t type)> setType;
    std::function<void(const Object& event, KeyCode keyCode)> setKeyCode; ///< the keyboard key-code field
    std::function<void(const Object& event, KeyFlags flags)> setFlags;
    std::function<void(std::int32_t process, const Object& event)> postToProcess;
};

/// What the system allows us at this moment.
struct PostingPermissions {
    bool isTrustedForAccessibility = false;
    bool mayPostEvents = false;
};

/// Posts the events to the route's process; only local routes will do. Nothing is posted unless every event
/// could be made.
bool postThroughCoreGraphics(const CoreGraphicsPostingTable& graphics, const PostingPermissions& permissions,
                             const std::vector<KeyboardShortcutEvent>& events,
                             const KeyboardShortcutDeliveryRoute& route, LogSink& log);

/// The live poster of macOS: global routes through the HID system, local ones through CoreGraphics, whose
/// permissions are asked for then only. `log` must outlive it.
KeyboardShortcutPoster makeSystemShortcutPoster(HidPostingTable hid, CoreGraphicsPostingTable graphics,
                                                LogSink& log);

} // namespace varnel
