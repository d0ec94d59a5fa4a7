#pragma once

#include "keyboard/notation/KeyToken.h"

#include <cstdint>
#include <functional>
#include <string_view>
#include <variant>
#include <vector>

namespace varnel {

/// One low-level event of a shortcut that is being sent.
struct KeyboardShortcutEvent {
    enum class EventType { flagsChanged, keyDown, keyUp } type = EventType::flagsChanged;
    KeyCode keyCode = 0;
    KeyFlags flags = 0; ///< after the event
    bool isKeyDown = false;
    friend bool operator==(const KeyboardShortcutEvent&, const KeyboardShortcutEvent&) = default;
};
/// "flagsChanged", "keyDown" or "keyUp".
std::string_view name(KeyboardShortcutEvent::EventType type);
/// The event type's number in the event systems of macOS: 12, 10 or 11.
std::uint32_t systemEventType(KeyboardShortcutEvent::EventType type);

/// Where a shortcut goes: to the whole system as if typed, or to one process.
struct GlobalRoute {
    friend bool operator==(const GlobalRoute&, const GlobalRoute&) = default;
};
struct LocalRoute {
    std::int32_t process = 0;
    friend bool operator==(const LocalRoute&, const LocalRoute&) = default;
};
using KeyboardShortcutDeliveryRoute = std::variant<GlobalRoute, LocalRoute>;

/// Posts the events in order; true when every one was posted. Runs on the command-execution queue and may
/// wait there; logs why it failed, and leaves nothing pressed.
using KeyboardShortcutPoster =
    std::function<bool(const std::vector<KeyboardShortcutEvent>&, const KeyboardShortcutDeliveryRoute&)>;

/// The events that make up a shortcut: modifiers pressed in the order of `normalizedToken`, the main key
/// pressed and released, modifiers released in reverse. Flags are the modifiers of the shortcut alone.
std::vector<KeyboardShortcutEvent> makeShortcutEvents(std::string_view normalizedToken, KeyCode mainKeyCode);

} // namespace varnel
