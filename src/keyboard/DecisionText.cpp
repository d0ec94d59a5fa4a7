#include "base/Localized.h"
#include "base/Text.h"
#include "keyboard/Decisions.h"
#include "keyboard/SuspensionReasons.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {

namespace {

using Kind = Decision::Kind;

/// Names and messages come from files and programs; none may break the line.
template <std::size_t Capacity>
std::string plain(const FixedText<Capacity>& text) {
    return singleLine(text.view(), Capacity);
}

/// The sequence with the key that was pressed after it.
std::string wholeSequence(const Decision& decision) {
    std::string whole(decision.sequence.view());
    if (!decision.token.empty())
        whole.append(whole.empty() ? "" : " ").append(decision.token.view());
    return whole;
}

std::string triggerOf(const ConfigItem& item) {
    return join(KeyTokenCodec::liveSpelling(item.keys), " ");
}

/// An item that the keys would have reached if it were not switched off; null when there is none.
const ConfigItem* disabledItem(const std::string& keys, const DecisionContext& context) {
    for (const ConfigItem& item : context.items) {
        if (item.isEnabled)
            continue;
        const std::string trigger = triggerOf(item);
        if (trigger == keys || trigger.starts_with(keys + " "))
            return &item;
    }
    return nullptr;
}

/// What can never run because the action with exactly these keys runs first; null when there is nothing.
const ConfigItem* shadowedItem(const std::string& keys, const DecisionContext& context) {
    bool isFirst = true;
    for (const ConfigItem& item : context.items) {
        if (!item.isEnabled || item.type != ItemType::action)
            continue;
        const std::string trigger = triggerOf(item);
        if (trigger.starts_with(keys + " ") || (trigger == keys && !std::exchange(isFirst, false)))
            return &item;
    }
    return nullptr;
}

std::string nothingBound(const Decision& decision, const DecisionContext& context) {
    const std::string token(decision.token.view()), sequence(decision.sequence.view());
    if (decision.configuration == context.configuration)
        if (const ConfigItem* item = disabledItem(wholeSequence(decision), context))
            return localized("%1 ended the sequence: “%2”, bound under %3, is disabled",
                             {token, singleLine(item->name, 60), sequence});
    return localized("%1 ended the sequence: nothing is bound under %2", {token, sequence});
}

std::string ran(const Decision& decision, const DecisionContext& context) {
    const std::string keys = wholeSequence(decision), name = plain(decision.name);
    if (decision.configuration == context.configuration)
        if (const ConfigItem* item = shadowedItem(keys, context))
            return localized("%1 ran “%2”; it keeps “%3” (%4) from ever being reached",
                             {keys, name, singleLine(item->name, 60), triggerOf(*item)});
    return localized("%1 ran “%2”", {keys, name});
}

/// A failed launch tells its item's name only; what is in the way is looked for now.
std::string commandFinished(const Decision& decision, const DecisionContext& context) {
    const std::string name = plain(decision.name), message = plain(decision.message);
    const bool isFailedLaunch = message == localized("Failed to launch application: %1", {name});
    if (isFailedLaunch && context.obstacle && decision.configuration == context.configuration) {
        const auto item = std::ranges::find(context.items, decision.name.view(), &ConfigItem::name);
        if (const std::string obstacle = item == context.items.end() ? "" : context.obstacle(*item);
            !obstacle.empty())
            return localized("“%1” ended: %2 (%3)", {name, message, singleLine(obstacle, 200)});
    }
    return localized("“%1” ended: %2", {name, message});
}

std::string suspended(const Decision& decision) {
    const std::string_view reason = decision.message.view();
    if (reason == kPauseReason)
        return localized("Paused");
    if (reason == kLockedReason)
        return localized("Paused: the screen is locked");
    if (reason == kAsleepReason)
        return localized("Paused: the computer goes to sleep");
    return localized("Paused: %1", {plain(decision.message)});
}

std::string resumed(const Decision& decision) {
    const std::string_view reason = decision.message.view();
    if (reason == kPauseReason || reason == kPanicReason)
        return localized("No longer paused");
    if (reason == kLockedReason)
        return localized("No longer paused: the screen is unlocked");
    if (reason == kAsleepReason)
        return localized("No longer paused: the computer is awake");
    return localized("No longer paused: %1", {plain(decision.message)});
}

std::string aboutSequence(const Decision& decision, const DecisionContext& context) {
    const std::string token(decision.token.view()), sequence(decision.sequence.view());
    switch (decision.kind) {
    case Kind::opened:
        return localized("%1 opened a sequence", {token});
    case Kind::continued:
        return localized("%1 continued the sequence %2", {token, sequence});
    case Kind::letThrough:
        return localized("%1 opened a sequence and reached the application all the same", {token});
    case Kind::ran:
        return ran(decision, context);
    case Kind::asked:
        return localized("%1 asked what to choose for “%2”", {wholeSequence(decision), plain(decision.name)});
    case Kind::chose:
        return localized("A choice for “%1” was taken", {plain(decision.name)});
    case Kind::triggered:
        return localized("“%1” was run without its keys being typed", {plain(decision.name)});
    case Kind::nothingBound:
        return nothingBound(decision, context);
    case Kind::noSuchChoice:
        return localized("%1 ended the sequence: no choice begins with it", {token});
    case Kind::hintsKept:
        return localized("%1 is not bound under %2; the hints stay open and keys reach the application",
                         {token, sequence});
    case Kind::cancelled:
        return localized("%1 ended the sequence %2", {token, sequence});
    case Kind::timedOut:
        return localized("The sequence %1 ended: no next key within %2 ms",
                         {sequence, std::to_string(decision.limit.count())});
    case Kind::unattended:
        return localized("The sequence %1 ended: no key for %2 seconds",
                         {sequence, std::to_string(decision.limit.count() / 1000)});
    case Kind::nothingToChoose:
        return localized("The sequence %1 ended: %2", {sequence, plain(decision.message)});
    case Kind::choicesTooLate:
        return localized("The sequence %1 ended: finding the choices took too long", {sequence});
    case Kind::noHandler:
        return localized("%1 ended the sequence: %2", {token, plain(decision.message)});
    default:
        return localized("The sequence %1 was interrupted", {sequence});
    }
}

} // namespace

std::string describe(const Decision& decision, const DecisionContext& context) {
    const std::string token(decision.token.view());
    switch (decision.kind) {
    case Kind::heldTooLong:
        return localized(
            "%1 held %2 ms, the tap limit is %3 ms",
            {token, std::to_string(decision.held.count()), std::to_string(decision.limit.count())});
    case Kind::postedByUs:
        return localized("%1 opened nothing: Varnel itself had posted it", {token});
    case Kind::commandFinished:
        return commandFinished(decision, context);
    case Kind::suspended:
        return suspended(decision);
    case Kind::resumed:
        return resumed(decision);
    case Kind::panicKeys:
        return localized("Paused by the panic keys (left ctrl, space and escape together)");
    case Kind::captureStarted:
        return localized("Keys are being captured");
    case Kind::captureRefused:
        return decision.message.empty() ? localized("Keys cannot be captured")
                                        : localized("Keys cannot be captured: %1", {plain(decision.message)});
    case Kind::captureStopped:
        return localized("Keys are no longer captured");
    case Kind::keyboardTaken:
        return localized("Keys may not arrive: %1", {plain(decision.message)});
    case Kind::keyboardFree:
        return localized("Nothing keeps keys from arriving any longer");
    case Kind::configurationLoaded:
        return decision.count == 1
                   ? localized("The configuration was loaded: 1 item")
                   : localized("The configuration was loaded: %1 items", {std::to_string(decision.count)});
    case Kind::configurationFailed:
        return localized("The configuration cannot be read: %1", {plain(decision.message)});
    default:
        return aboutSequence(decision, context);
    }
}

std::string describeOtherKeys(std::uint64_t count) {
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3;)
        digits.insert(place -= 3, ",");
    return count == 1 ? localized("1 other key") : localized("%1 other keys", {digits});
}

} // namespace varnel
