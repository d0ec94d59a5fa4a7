#include "commands/CoreGraphicsPosting.h"

#include <string>
#include <utility>

namespace varnel {

namespace {

using Object = CoreGraphicsPostingTable::Object;

Object makeEvent(const CoreGraphicsPostingTable& graphics, const Object& source,
                 const KeyboardShortcutEvent& event) {
    Object made;
    if (event.type == KeyboardShortcutEvent::EventType::flagsChanged) {
        made = graphics.createEvent(source);
        if (!made)
            return nullptr;
        graphics.setType(made, systemEventType(event.type));
        graphics.setKeyCode(made, event.keyCode);
    } else {
        made = graphics.createKeyboardEvent(source, event.keyCode, event.isKeyDown);
        if (!made)
            return nullptr;
    }
    // Also when there are none: a new event starts with the modifiers that are held now.
    graphics.setFlags(made, event.flags);
    return made;
}

} // namespace

bool postThroughCoreGraphics(const CoreGraphicsPostingTable& graphics, const PostingPermissions& permissions,
                             const std::vector<KeyboardShortcutEvent>& events,
                             const KeyboardShortcutDeliveryRoute& route, LogSink& log) {
    const auto fail = [&](const std::string& why) {
        log.write(LogLevel::error, kShortcutLog, why);
        return false;
    };
    const auto* local = std::get_if<LocalRoute>(&route);
    if (!local)
        return fail("core graphics shortcut delivery only supports local routes");
    if (!permissions.isTrustedForAccessibility)
        return fail("accessibility permission denied");
    if (!permissions.mayPostEvents)
        return fail("event synthesis permission denied");
    const Object source = graphics.createSource();
    if (!source)
        return fail("event source unavailable");

    std::vector<Object> made;
    for (const KeyboardShortcutEvent& event : events) {
        made.push_back(makeEvent(graphics, source, event));
        if (!made.back())
            return fail("event creation failed type=" + std::string(name(event.type)) +
                        " keyCode=" + std::to_string(event.keyCode));
    }
    for (const Object& event : made)
        graphics.postToProcess(local->process, event);
    return true;
}

KeyboardShortcutPoster makeSystemShortcutPoster(HidPostingTable hid, CoreGraphicsPostingTable graphics,
                                                LogSink& log) {
    return [hid = std::move(hid), graphics = std::move(graphics), &log](
               const std::vector<KeyboardShortcutEvent>& events, const KeyboardShortcutDeliveryRoute& route) {
        if (std::holds_alternative<GlobalRoute>(route))
            return postThroughHid(hid, events, log);
        const PostingPermissions permissions{.isTrustedForAccessibility =
                                                 graphics.isTrustedForAccessibility(),
                                             .mayPostEvents = graphics.mayPostEvents()};
        return postThroughCoreGraphics(graphics, permissions, events, route, log);
    };
}

} // namespace varnel
