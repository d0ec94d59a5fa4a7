#pragma once

#include "base/JSONReader.h"
#include "config/ConfigItem.h"
#include "config/ConfigRules.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// An action that an item may run, as far as a check needs to know it.
struct KnownAction {
    struct Parameter {
        enum class Kind { any, text, boolean, integer, number, choice, shortcut, application };
        std::string key;
        Kind kind = Kind::any;
        bool required = false;
        std::vector<JSONValue> choices = {}; ///< of a choice; empty: any value
        bool ignoresSpelling = false;        ///< choices may differ in case, spaces and punctuation
        std::optional<JSONValue> defaultValue = std::nullopt;
        /// The parameter counts while `dependsOn` has one of these values; empty: always.
        std::string dependsOn = {};
        std::vector<std::string> shownWhen = {};
        friend bool operator==(const Parameter&, const Parameter&) = default;
    };
    using Form = std::vector<Parameter>;

    std::string pluginID;
    std::string actionID;
    std::vector<Form> forms; ///< alternatives: parameters that fit one of them are fine; none: not known
    friend bool operator==(const KnownAction&, const KnownAction&) = default;
};

/// A plugin that is installed but does not run.
struct UnavailablePlugin {
    std::string pluginID;
    bool isUntrusted = false; ///< the user's word is missing; else it is invalid, disabled or in conflict
    std::string reason;       ///< a sentence
    friend bool operator==(const UnavailablePlugin&, const UnavailablePlugin&) = default;
};

/// What a check knows of the world beside the text.
struct CheckSurroundings {
    std::vector<KnownAction> actions;
    std::vector<UnavailablePlugin> unavailablePlugins = {};
    /// Why no application can be opened by this path here, as a clause; empty when one can. May itself be
    /// empty: paths are not looked at then.
    std::function<std::string(const std::string& path)> whyNoApplication = {};
};

/// The actions with reserved identifiers.
std::vector<KnownAction> builtInActions();

/// One finding about a configuration, for the user.
struct Diagnostic {
    using Severity = varnel::Severity;
    /// Another place that has to do with it: the item that is also bound by an equal trigger.
    struct Related {
        std::string message;
        std::string path;
        JSONPosition position;
        friend bool operator==(const Related&, const Related&) = default;
    };
    Severity severity = Severity::warning;
    std::string code;    ///< of the rule: "equal-trigger"
    std::string message; ///< names the item, what is wrong and what to do
    std::string path;    ///< of the value in the file: "items[3].keys"
    JSONPosition position;
    std::string itemID = {}; ///< empty when it is about no single item
    std::optional<Related> related = std::nullopt;
    friend bool operator==(const Diagnostic&, const Diagnostic&) = default;
};
/// "FILE:LINE:COLUMN: warning: message [code]".
std::string describe(const Diagnostic& diagnostic, std::string_view file);
/// A finding of a rule, with the rule's code and severity.
Diagnostic makeDiagnostic(RuleID rule, std::string message, std::string path, JSONPosition position);

/// Everything that deserves the user's attention in a configuration text, in the order of the places. A text
/// that does not load yields exactly one error; all other findings are warnings and notes. Pure but for
/// `whyNoApplication`; any thread.
std::vector<Diagnostic> checkDocument(std::string_view text, const CheckSurroundings& surroundings);
/// Without a look at this machine.
std::vector<Diagnostic> checkDocument(std::string_view text, const std::vector<KnownAction>& knownActions);

} // namespace varnel
