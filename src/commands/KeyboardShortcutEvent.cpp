#include "commands/KeyboardShortcutEvent.h"

#include "base/Text.h"

#include <ranges>

namespace varnel {

std::string_view name(KeyboardShortcutEvent::EventType type) {
    switch (type) {
    case KeyboardShortcutEvent::EventType::flagsChanged:
        return "flagsChanged";
    case KeyboardShortcutEvent::EventType::keyDown:
        return "keyDown";
    case KeyboardShortcutEvent::EventType::keyUp:
        return "keyUp";
    }
    return {};
}

std::uint32_t systemEventType(KeyboardShortcutEvent::EventType type) {
    switch (type) {
    case KeyboardShortcutEvent::EventType::flagsChanged:
        return 12;
    case KeyboardShortcutEvent::EventType::keyDown:
        return 10;
    case KeyboardShortcutEvent::EventType::keyUp:
        return 11;
    }
    return 0;
}

std::vector<KeyboardShortcutEvent> makeShortcutEvents(std::string_view normalizedToken, KeyCode mainKeyCode) {
    using Type = KeyboardShortcutEvent::EventType;
    std::vector<Modifier> modifiers;
    for (const std::string_view part : split(normalizedToken, '+'))
        if (const std::optional<Modifier> modifier = modifierNamed(part))
            modifiers.push_back(*modifier);

    std::vector<KeyboardShortcutEvent> events;
    KeyFlags flags = 0;
    for (const Modifier modifier : modifiers) {
        flags |= modifierFlag(modifier);
        events.push_back({Type::flagsChanged, modifierKeyCode(modifier), flags, true});
    }
    events.push_back({Type::keyDown, mainKeyCode, flags, true});
    events.push_back({Type::keyUp, mainKeyCode, flags, false});
    for (const Modifier modifier : modifiers | std::views::reverse) {
        flags &= ~modifierFlag(modifier);
        events.push_back({Type::flagsChanged, modifierKeyCode(modifier), flags, false});
    }
    return events;
}

} // namespace varnel
