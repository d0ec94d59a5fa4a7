#include "keyboard/CoreGraphicsKeyboardEventTapSession.h"

#include <utility>

namespace varnel {
namespace {

constexpr std::uint64_t kKeyboardEvents =
    (std::uint64_t{1} << kCGEventKeyDownType) | (std::uint64_t{1} << kCGEventFlagsChangedType);

using Slot = CoreGraphicsKeyboardEventTapSession::Slot;

TapVerdict receive(const EventTapFunctions& functions, const Slot& slot, const KeyboardTapCallback& callback,
                   std::uint32_t type, SystemObject event) {
    if (type == kCGEventTapDisabledByTimeoutType || type == kCGEventTapDisabledByUserInputType) {
        if (*slot)
            (*slot)->enable();
        return TapVerdict::pass;
    }
    const bool isKey = type == kCGEventKeyDownType || type == kCGEventFlagsChangedType;
    if (!isKey || !*slot || (*slot)->isInvalidated())
        return TapVerdict::pass;
    const std::int64_t poster = functions.sourceProcess(event);
    auto key = functions.applicationEvent(event);
    if (!key)
        return TapVerdict::pass;
    key->isSynthetic = poster != 0;
    if (poster != functions.ownProcess)
        return callback(*key);
    // A binding that posts its own trigger must not feed itself.
    if (key->type == KeyboardEvent::Type::keyDown) {
        key->type = KeyboardEvent::Type::postedByUs;
        (void)callback(*key);
    }
    return TapVerdict::pass;
}

} // namespace

CoreGraphicsKeyboardEventTapSession::CoreGraphicsKeyboardEventTapSession(const EventTapFunctions& functions,
                                                                         SystemObject eventTap,
                                                                         SystemObject runLoopSource,
                                                                         Slot slot)
    : functions_(functions)
    , eventTap_(eventTap)
    , runLoopSource_(runLoopSource)
    , slot_(std::move(slot)) {
    *slot_ = this;
}

CoreGraphicsKeyboardEventTapSession::~CoreGraphicsKeyboardEventTapSession() {
    invalidate();
    *slot_ = nullptr;
}

void CoreGraphicsKeyboardEventTapSession::enable() {
    if (!isInvalidated_)
        functions_.enableTap(eventTap_, true);
}

void CoreGraphicsKeyboardEventTapSession::invalidate() {
    if (std::exchange(isInvalidated_, true))
        return;
    functions_.enableTap(eventTap_, false);
    functions_.removeFromMainRunLoop(runLoopSource_);
    // The source holds the port too: without invalidation a tap could outlive us with a dead context.
    functions_.invalidatePort(eventTap_);
    functions_.releaseSource(runLoopSource_);
    functions_.releasePort(eventTap_);
}

std::optional<PanicKeySet> CoreGraphicsKeyboardEventTapSession::panicKeysHeldByHand() const {
    if (!functions_.isDownOnHardware)
        return std::nullopt;
    return PanicKeySet{.leftControl = functions_.isDownOnHardware(PanicKeys::kLeftControl),
                       .space = functions_.isDownOnHardware(PanicKeys::kSpace),
                       .escape = functions_.isDownOnHardware(PanicKeys::kEscape)};
}

CoreGraphicsKeyboardEventTapSessionFactory::CoreGraphicsKeyboardEventTapSessionFactory(
    EventTapFunctions functions)
    : functions_(std::move(functions)) {}

std::unique_ptr<KeyboardEventTapSession>
CoreGraphicsKeyboardEventTapSessionFactory::createSession(KeyboardTapCallback callback) {
    grantedLevel_.reset();
    for (auto level : {EventTapRequest::Level::hid, EventTapRequest::Level::session}) {
        auto slot = std::make_shared<CoreGraphicsKeyboardEventTapSession*>(nullptr);
        SystemObject tap =
            functions_.createTap({.level = level, .eventMask = kKeyboardEvents},
                                 [this, slot, callback](std::uint32_t type, SystemObject event) {
                                     return receive(functions_, slot, callback, type, event);
                                 });
        if (!tap)
            continue;
        SystemObject source = functions_.createRunLoopSource(tap);
        if (!source) {
            functions_.invalidatePort(tap);
            functions_.releasePort(tap);
            continue;
        }
        functions_.addToMainRunLoop(source);
        grantedLevel_ = level;
        return std::make_unique<CoreGraphicsKeyboardEventTapSession>(functions_, tap, source,
                                                                     std::move(slot));
    }
    return nullptr;
}

} // namespace varnel
