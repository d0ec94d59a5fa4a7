#include "config/ConfigCheck.h"

#include "base/JSONScanner.h"
#include "base/Text.h"
#include "config/ConfigDocument.h"
#include "config/ConfigFindings.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace varnel {
namespace {

/// Finds the places of many paths in one pass; of duplicate keys the last counts.
class PlaceCollector : public JSONPlaceVisitor {
public:
    void want(const JSONPath& path) { places_.emplace(path, JSONPosition{}); }
    [[nodiscard]] JSONPosition place(const JSONPath& path) const { return places_.at(path); }

    void value(const JSONPath& path, JSONPosition position) override {
        if (auto wanted = places_.find(path); wanted != places_.end())
            wanted->second = position;
    }
    void key(const JSONPath&, const std::string&, JSONPosition) override {}

private:
    std::map<JSONPath, JSONPosition> places_;
};

Diagnostic loadFailure(const ConfigDecodingError& error) {
    const ConfigFault& fault = error.leading();
    return {.severity = Diagnostic::Severity::error,
            .code = fault.path.empty() && !error.cause ? "invalid-json" : "invalid-configuration",
            .message = describe(fault),
            .path = describe(fault.path),
            .position = fault.position,
            .itemID = {}};
}

} // namespace

const JSONValue& CheckedConfig::tree(std::size_t index) const {
    const JSONValue* items = root.object() ? root.find("items") : &root;
    return (*items->array())[index];
}

JSONPath CheckedConfig::itemPath(std::size_t index) const {
    return root.object() ? JSONPath{"items", index} : JSONPath{index};
}

JSONPath CheckedConfig::memberPath(std::size_t index, const std::vector<std::string>& members) const {
    JSONPath path = itemPath(index);
    const JSONValue* value = &tree(index);
    for (const std::string& member : members) {
        value = value->find(member);
        if (!value)
            break;
        path.emplace_back(member);
    }
    return path;
}

std::string CheckedConfig::mention(std::size_t index) const {
    const std::string_view name = trimmed(item(index).name);
    const std::string place = describe(itemPath(index));
    return name.empty() ? place : quoteForMessage(name) + " (" + place + ")";
}

std::string quoteForMessage(std::string_view text) {
    return "\"" + singleLine(text, 60) + "\"";
}

void ConfigFindings::add(std::string_view code, JSONPath path, std::string message) {
    addAt(code, path, std::move(message), {});
    pending_.push_back({std::move(path), findings_.size() - 1});
}

void ConfigFindings::addForItem(std::string_view code, std::size_t index,
                                const std::vector<std::string>& members, std::string_view message) {
    addForItemAt(code, index, config_.memberPath(index, members), message);
}

void ConfigFindings::addForItemAt(std::string_view code, std::size_t index, JSONPath path,
                                  std::string_view message) {
    add(code, std::move(path), config_.mention(index) + " " + std::string(message));
    const JSONValue* id = config_.tree(index).find("id");
    if (id && id->string()) // otherwise it is a random one, which nobody could look up
        findings_.back().itemID = config_.item(index).id.text();
}

void ConfigFindings::addAt(std::string_view code, const JSONPath& path, std::string message,
                           JSONPosition position) {
    findings_.push_back({.severity = Diagnostic::Severity::warning,
                         .code = std::string(code),
                         .message = std::move(message),
                         .path = describe(path),
                         .position = position,
                         .itemID = {}});
}

std::vector<Diagnostic> ConfigFindings::finished(std::string_view text) {
    if (!pending_.empty()) {
        PlaceCollector places;
        for (const Pending& pending : pending_)
            places.want(pending.path);
        (void)JSONScanner(text, &places).scan();
        for (const Pending& pending : pending_)
            findings_[pending.finding].position = places.place(pending.path);
    }
    std::ranges::stable_sort(findings_, {}, [](const Diagnostic& found) {
        return std::pair(found.position.line, found.position.column);
    });
    return std::move(findings_);
}

std::vector<Diagnostic> checkDocument(std::string_view text, const std::vector<KnownAction>& knownActions) {
    const auto document = decodeDocument(text);
    if (!document)
        return {loadFailure(document.error())};
    const auto root = readJSON(text);
    if (!root)
        return {};
    const CheckedConfig config{*document, *root};
    ConfigFindings findings(config);
    for (const JSONDuplicateKey& twice : findDuplicateKeys(text)) {
        JSONPath path = twice.object;
        path.emplace_back(twice.key);
        findings.addAt("duplicate-key", path,
                       "The member " + describe(path) +
                           " is there more than once, and only the last one counts. Remove the others.",
                       twice.position);
    }
    checkMembers(config, findings);
    checkIdentifiers(config, findings);
    checkTriggers(config, findings);
    checkActions(config, knownActions, findings);
    return findings.finished(text);
}

std::string_view severityName(Diagnostic::Severity severity) {
    return severity == Diagnostic::Severity::error ? "error" : "warning";
}

std::string describe(const Diagnostic& diagnostic, std::string_view file) {
    return std::string(file) + ":" + std::to_string(diagnostic.position.line) + ":" +
           std::to_string(diagnostic.position.column) + ": " +
           std::string(severityName(diagnostic.severity)) + ": " + diagnostic.message + " [" +
           diagnostic.code + "]";
}

} // namespace varnel
