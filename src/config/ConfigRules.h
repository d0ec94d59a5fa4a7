#pragma once

#include <span>
#include <string>
#include <string_view>

namespace varnel {

/// What the check of a configuration looks for. `configRules()` tells the rest about each.
enum class RuleID {
    unreadable,
    invalidJSON,
    invalidConfiguration,
    duplicateKey,
    droppedKey,
    olderForm,
    missingID,
    equalID,
    emptyKeys,
    untypableTrigger,
    spelling,
    unreachableTrigger,
    equalTrigger,
    emptyGroup,
    missingAction,
    unknownAction,
    untrustedPlugin,
    inactivePlugin,
    missingParameter,
    mistypedParameter,
    unknownParameter,
    incompleteOperation,
    invalidShortcut,
    invalidDeliveryMode,
    missingApplication,
    invalidExpectation,
    failedExpectation,
};

/// How much a finding matters. A note is worth knowing, but nothing is wrong: shown on request only.
enum class Severity { note, warning, error };
/// "note", "warning" or "error".
std::string_view severityName(Severity severity);

/// One rule of the check.
struct ConfigRule {
    RuleID id;
    std::string_view code; ///< stable, for programs: "equal-trigger"
    Severity severity;
    bool isFixable;               ///< `fixDocument` mends it
    std::string (*explanation)(); ///< one sentence for the user
    std::string (*remedy)();      ///< what to do about it
};

/// All rules, in the order of their identifiers.
std::span<const ConfigRule> configRules();
const ConfigRule& configRule(RuleID id);
/// Null when no rule has this code.
const ConfigRule* findConfigRule(std::string_view code);

} // namespace varnel
