#include "base/JSONValue.h"
#include "base/JSONWriter.h"
#include "base/Sha256.h"
#include "cli/CheckReport.h"

#include <algorithm>

namespace varnel {

namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;

/// The path as a reference to a resource: relative ones stay so, since code scanning asks for places below
/// the folder of the project.
std::string uriReference(std::string_view path) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/!$&'()*+,;=@";
    constexpr std::string_view digits = "0123456789ABCDEF";
    while (path.starts_with("./"))
        path.remove_prefix(2);
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char c : path) {
        if (plain.contains(c)) {
            uri += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        uri += {'%', digits[byte >> 4], digits[byte & 15]};
    }
    return uri;
}

Object message(std::string text) {
    return {{"text", std::move(text)}};
}

Object physicalLocation(const std::string& file, JSONPosition position) {
    Object place{{"artifactLocation", Object{{"uri", uriReference(file)}}}};
    if (position.line > 0)
        place["region"] = Object{{"startLine", position.line}, {"startColumn", position.column}};
    return place;
}

Object location(const std::string& file, const std::string& path, JSONPosition position) {
    Object place{{"physicalLocation", physicalLocation(file, position)}};
    if (!path.empty() && path != file)
        place["logicalLocations"] = Array{Object{{"fullyQualifiedName", path}}};
    return place;
}

Object descriptor(const ConfigRule& rule) {
    return {{"id", rule.code},
            {"shortDescription", message(rule.explanation())},
            {"fullDescription", message(rule.explanation())},
            {"help", message(rule.remedy())},
            {"defaultConfiguration", Object{{"level", severityName(rule.severity)}}}};
}

/// Stays the same while lines are added elsewhere in the file.
std::string fingerprint(const Diagnostic& found) {
    Sha256 hash;
    hash.update(found.code + "\n" + (found.itemID.empty() ? found.path : found.itemID) + "\n" +
                found.message);
    return hash.finishHex().substr(0, 32);
}

Object result(const CheckedFile& file, const Diagnostic& found) {
    const ConfigRule* rule = findConfigRule(found.code);
    Object result{{"ruleId", found.code},
                  {"ruleIndex", static_cast<int>(rule->id)},
                  {"level", severityName(found.severity)},
                  {"message", message(found.message)},
                  {"locations", Array{location(file.path, found.path, found.position)}},
                  {"partialFingerprints", Object{{"findingHash/v1", fingerprint(found)}}}};
    if (found.related) {
        Object related = location(file.path, found.related->path, found.related->position);
        related["id"] = 1;
        related["message"] = message(found.related->message);
        result["relatedLocations"] = Array{std::move(related)};
    }
    return result;
}

} // namespace

std::string sarifReport(const std::vector<CheckedFile>& files, std::string_view version) {
    Array rules, results;
    bool isReadable = true;
    for (const ConfigRule& rule : configRules())
        rules.emplace_back(descriptor(rule));
    for (const CheckedFile& file : files)
        for (const Diagnostic& found : file.findings) {
            results.emplace_back(result(file, found));
            isReadable = isReadable && found.code != configRule(RuleID::unreadable).code;
        }
    const Object run{{"tool", Object{{"driver", Object{{"name", "varnel"},
                                                       {"version", version},
                                                       {"semanticVersion", version},
                                                       {"rules", std::move(rules)}}}}},
                     {"columnKind", "unicodeCodePoints"},
                     {"invocations", Array{Object{{"executionSuccessful", isReadable}}}},
                     {"results", std::move(results)}};
    return writePrettyJSON(Object{{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                                  {"version", "2.1.0"},
                                  {"runs", Array{run}}}) +
           "\n";
}

} // namespace varnel
