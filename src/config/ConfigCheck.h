#pragma once

#include "base/JSONReader.h"
#include "config/ConfigItem.h"

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// An action that an item may run, as far as a check needs to know it.
struct KnownAction {
    struct Parameter {
        std::string key;
        bool required = false;
        friend bool operator==(const Parameter&, const Parameter&) = default;
    };
    std::string pluginID;
    std::string actionID;
    std::vector<Parameter> parameters;
    friend bool operator==(const KnownAction&, const KnownAction&) = default;
};

/// The actions with reserved identifiers.
std::vector<KnownAction> builtInActions();

/// One finding about a configuration, for the user.
struct Diagnostic {
    enum class Severity { warning, error };
    Severity severity = Severity::warning;
    std::string code;    ///< stable, for programs: "equal-trigger"
    std::string message; ///< names the item, what is wrong and what to do
    std::string path;    ///< of the value in the file: "items[3].keys"
    JSONPosition position;
    std::string itemID; ///< empty when it is about no single item
    friend bool operator==(const Diagnostic&, const Diagnostic&) = default;
};
/// "error" or "warning".
std::string_view severityName(Diagnostic::Severity severity);
/// "FILE:LINE:COLUMN: warning: message [code]".
std::string describe(const Diagnostic& diagnostic, std::string_view file);

/// Everything that deserves the user's attention in a configuration text, in the order of the places. A text
/// that does not load yields exactly one error; all other findings are warnings. Pure; any thread.
std::vector<Diagnostic> checkDocument(std::string_view text, const std::vector<KnownAction>& knownActions);

} // namespace varnel
