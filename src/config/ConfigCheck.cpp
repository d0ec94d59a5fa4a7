#include "config/ConfigCheck.h"

#include "base/JSONReader.h"
#include "base/JSONStream.h"
#include "base/Localized.h"
#include "config/ConfigDamage.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFindings.h"

#include <utility>

namespace varnel {
namespace {

Diagnostic loadFailure(std::string_view text, const ConfigDecodingError& error) {
    const ConfigFault& fault = error.leading();
    const bool isJSON = readJSON(text).has_value();
    Diagnostic failure = makeDiagnostic(isJSON ? RuleID::invalidConfiguration : RuleID::invalidJSON,
                                        describe(fault), describe(fault.path), fault.position);
    const auto damage = isJSON ? findMisspelledMember(text, fault) : findBrokenText(text, fault.position);
    if (damage) {
        failure.message += "; " + damage->hint;
        failure.position = damage->position;
    }
    return failure;
}

/// Builds the tree of a text and counts the keys in it.
class CountingTreeBuilder : public JSONTreeBuilder {
public:
    bool key(std::string_view key) override {
        ++keys_;
        return JSONTreeBuilder::key(key);
    }
    [[nodiscard]] std::size_t keys() const { return keys_; }

private:
    std::size_t keys_ = 0;
};

std::size_t countMembers(const JSONValue& value) {
    std::size_t count = 0;
    if (const JSONValue::Object* members = value.object())
        for (const auto& [key, member] : *members)
            count += 1 + countMembers(member);
    if (const JSONValue::Array* elements = value.array())
        for (const JSONValue& element : *elements)
            count += countMembers(element);
    return count;
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
    CountingTreeBuilder tree;
    if (!parseJSON(text, tree))
        return {};
    const JSONValue root = tree.take();
    const CheckedConfig config{*document, root};
    ConfigFindings findings(config);
    if (countMembers(root) != tree.keys()) // finding them takes longer than all the rest
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
