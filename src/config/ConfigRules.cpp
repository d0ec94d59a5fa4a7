#include "config/ConfigRules.h"

#include "base/Localized.h"

#include <algorithm>

namespace varnel {
namespace {

using enum Severity;

constexpr bool kFixable = true, kByHand = false;

constexpr ConfigRule kRules[] = {
    {RuleID::unreadable, "unreadable", error, kByHand, [] { return localized("The file cannot be read."); },
     [] { return localized("Check the path and the file's permissions."); }},
    {RuleID::invalidJSON, "invalid-json", error, kByHand,
     [] { return localized("The text is not valid JSON, so nothing of it is loaded."); },
     [] { return localized("Correct the text at the place that is named, or just before it."); }},
    {RuleID::invalidConfiguration, "invalid-configuration", error, kByHand,
     [] { return localized("A member is missing or is not of its kind, so nothing of the file is loaded."); },
     [] { return localized("Give the member the kind of value that the message expects."); }},
    {RuleID::duplicateKey, "duplicate-key", warning, kByHand,
     [] { return localized("An object has a member twice; the last one counts and the others are lost."); },
     [] { return localized("Remove all but one of them."); }},
    {RuleID::droppedKey, "dropped-key", warning, kByHand,
     [] { return localized("A member is not known here and goes away when the file is saved."); },
     [] { return localized("Check its spelling or remove it."); }},
    {RuleID::olderForm, "older-form", note, kFixable,
     [] { return localized("The file or an action is in a form that is read but written no more."); },
     [] { return localized("Let \"varnel check --fix\" bring it into the current form."); }},
    {RuleID::missingID, "missing-id", note, kFixable,
     [] { return localized("An item has no identifier, so it gets another one each time it is loaded."); },
     [] { return localized("Let \"varnel check --fix\" give it one."); }},
    {RuleID::equalID, "equal-id", warning, kFixable,
     [] { return localized("Two items have the same identifier, so programs cannot tell them apart."); },
     [] { return localized("Remove the identifier of one of them; it gets a new one."); }},
    {RuleID::emptyKeys, "empty-keys", warning, kByHand,
     [] { return localized("An item has no keys, so it can never be typed."); },
     [] { return localized("Give it a trigger or remove it."); }},
    {RuleID::untypableTrigger, "untypable-trigger", warning, kByHand,
     [] { return localized("A step is no key, or one that no keyboard produces by itself."); },
     [] { return localized("Write modifiers and one key, joined by \"+\", or one modifier alone."); }},
    {RuleID::spelling, "spelling", note, kFixable,
     [] { return localized("A step is understood but not spelled canonically."); },
     [] {
         return localized("Let \"varnel check --fix\" spell it in lower case with its modifiers in order.");
     }},
    {RuleID::unreachableTrigger, "unreachable-trigger", warning, kByHand,
     [] {
         return localized("A trigger never completes: a shorter one runs first, \"escape\" closes the "
                          "sequence, or its first key passes to the application.");
     },
     [] { return localized("Change one of the triggers."); }},
    {RuleID::equalTrigger, "equal-trigger", warning, kByHand,
     [] { return localized("Two items have the same trigger; only the first enabled action runs."); },
     [] { return localized("Change or remove one of them."); }},
    {RuleID::emptyGroup, "empty-group", warning, kByHand,
     [] { return localized("A group has nothing beneath it, so its trigger opens nothing."); },
     [] { return localized("Add an item whose keys begin with the group's, or remove the group."); }},
    {RuleID::missingAction, "missing-action", warning, kByHand,
     [] { return localized("An item that should run something has no action."); },
     [] { return localized("Add an action, or make the item a group."); }},
    {RuleID::unknownAction, "unknown-action", warning, kByHand,
     [] { return localized("An item runs an action that no installed capability has."); },
     [] { return localized("Install the capability or correct the identifiers."); }},
    {RuleID::untrustedPlugin, "untrusted-plugin", warning, kByHand,
     [] { return localized("An item runs a capability that you do not trust yet, so it does nothing."); },
     [] { return localized("Look at the package, then trust it: varnel plugins trust ID."); }},
    {RuleID::inactivePlugin, "inactive-plugin", warning, kByHand,
     [] { return localized("An item runs a capability that is disabled, invalid or in conflict."); },
     [] { return localized("See varnel plugins list for the reason; enable or mend the capability."); }},
    {RuleID::missingParameter, "missing-parameter", warning, kByHand,
     [] { return localized("An action lacks a parameter that it needs."); },
     [] { return localized("Add it to the action's \"params\"."); }},
    {RuleID::mistypedParameter, "mistyped-parameter", warning, kByHand,
     [] { return localized("A parameter's value is of another kind than the action's form asks for."); },
     [] { return localized("Give it a value of that kind, or one of the choices."); }},
    {RuleID::unknownParameter, "unknown-parameter", warning, kByHand,
     [] { return localized("A parameter looks like a misspelled one, so it has no effect."); },
     [] { return localized("Correct the parameter's name."); }},
    {RuleID::incompleteOperation, "incomplete-operation", warning, kByHand,
     [] { return localized("A window-manager operation lacks the workspace or monitor that it works on."); },
     [] { return localized("Add \"workspace\" or \"monitorPattern\" to the action's \"params\"."); }},
    {RuleID::invalidShortcut, "invalid-shortcut", warning, kByHand,
     [] { return localized("A shortcut that is to be sent is no key with modifiers."); },
     [] { return localized("Write it like \"cmd+shift+k\"."); }},
    {RuleID::invalidDeliveryMode, "invalid-delivery-mode", warning, kByHand,
     [] { return localized("A shortcut's delivery mode is unknown, so the shortcut is never sent."); },
     [] { return localized("Write \"global\" or \"local\", or leave it out."); }},
    {RuleID::missingApplication, "missing-application", warning, kByHand,
     [] { return localized("The application of an item cannot be found on this machine."); },
     [] { return localized("Correct the path or install the application."); }},
    {RuleID::invalidExpectation, "invalid-expectation", error, kByHand,
     [] { return localized("A line of the expectations file cannot be understood."); },
     [] { return localized("Write the keys, \"->\", and an item's name or \"nothing\"."); }},
    {RuleID::failedExpectation, "failed-expectation", error, kByHand,
     [] { return localized("Typing the keys does something else than the expectations file says."); },
     [] { return localized("Correct the configuration or the expectation."); }},
};

constexpr bool isInOrder() {
    for (std::size_t i = 0; i < std::size(kRules); ++i)
        if (kRules[i].id != static_cast<RuleID>(i))
            return false;
    return std::size(kRules) == static_cast<std::size_t>(RuleID::failedExpectation) + 1;
}
static_assert(isInOrder(), "each rule stands at the place of its identifier");

} // namespace

std::string_view severityName(Severity severity) {
    switch (severity) {
    case note:
        return "note";
    case warning:
        return "warning";
    case error:
        break;
    }
    return "error";
}

std::span<const ConfigRule> configRules() {
    return kRules;
}

const ConfigRule& configRule(RuleID id) {
    return kRules[static_cast<std::size_t>(id)];
}

const ConfigRule* findConfigRule(std::string_view code) {
    const auto* found = std::ranges::find(kRules, code, &ConfigRule::code);
    return found == std::end(kRules) ? nullptr : found;
}

} // namespace varnel
