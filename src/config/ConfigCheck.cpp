#include "config/ConfigCheck.h"

#include "base/Localized.h"
#include "config/ConfigDamage.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFindings.h"

#include <utility>

namespace varnel {
namespace {

Diagnostic loadFailure(std::string_view text, const ConfigDecodingError& error) {
    const ConfigFault& fault = error.leading();
    const bool isJSON = !fault.path.empty() || error.cause;
    Diagnostic failure = makeDiagnostic(isJSON ? RuleID::invalidConfiguration : RuleID::invalidJSON,
                                        describe(fault), describe(fault.path), fault.position);
    const auto damage = isJSON ? findMisspelledMember(text, fault) : findBrokenText(text, fault.position);
    if (damage) {
        failure.message += "; " + damage->hint;
        failure.position = damage->position;
    }
    return failure;
}

void reportDuplicateKeys(std::string_view text, ConfigFindings& findings) {
    for (const JSONDuplicateKey& twice : findDuplicateKeys(text)) {
        JSONPath path = twice.object;
        path.emplace_back(twice.key);
        findings.addAt(RuleID::duplicateKey, path,
                       localized("The member %1 is there more than once, and only the last one counts. "
                                 "Remove the others.",
                                 {describe(path)}),
                       twice.position);
    }
}

} // namespace

std::vector<Diagnostic> checkDocument(std::string_view text, const CheckSurroundings& surroundings) {
    const auto document = decodeDocument(text);
    if (!document)
        return {loadFailure(text, document.error())};
    const auto root = readJSON(text);
    if (!root)
        return {};
    const CheckedConfig config{*document, *root};
    ConfigFindings findings(config);
    reportDuplicateKeys(text, findings);
    checkMembers(config, findings);
    checkIdentifiers(config, findings);
    checkTriggers(config, findings);
    checkActions(config, surroundings, findings);
    return findings.finished(text);
}

std::vector<Diagnostic> checkDocument(std::string_view text, const std::vector<KnownAction>& knownActions) {
    return checkDocument(text, CheckSurroundings{.actions = knownActions});
}

std::string describe(const Diagnostic& diagnostic, std::string_view file) {
    std::string place(file);
    if (diagnostic.position.line > 0)
        place +=
            ":" + std::to_string(diagnostic.position.line) + ":" + std::to_string(diagnostic.position.column);
    return place + ": " + std::string(severityName(diagnostic.severity)) + ": " + diagnostic.message + " [" +
           diagnostic.code + "]";
}

} // namespace varnel
