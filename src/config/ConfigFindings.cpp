#include "config/ConfigFindings.h"

#include "base/JSONScanner.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <map>
#include <utility>

namespace varnel {
namespace {

/// Finds the places of many paths in one pass; of duplicate keys the last counts.
class PlaceCollector : public JSONPlaceVisitor {
public:
    void want(const JSONPath& path) {
        places_.emplace(path, JSONPosition{});
        if (const std::size_t* index = itemIndex(path)) {
            items_.resize(std::max(items_.size(), *index + 1));
            items_[*index] = true;
        }
    }
    [[nodiscard]] JSONPosition place(const JSONPath& path) const { return places_.at(path); }

    void value(const JSONPath& path, JSONPosition position) override {
        if (const std::size_t* index = itemIndex(path)) // most items have nothing that is wanted
            if (*index >= items_.size() || !items_[*index])
                return;
        if (auto wanted = places_.find(path); wanted != places_.end())
            wanted->second = position;
    }
    void key(const JSONPath&, const std::string&, JSONPosition) override {}

private:
    static const std::size_t* itemIndex(const JSONPath& path) {
        for (std::size_t step = 0; step < std::min<std::size_t>(path.size(), 2); ++step)
            if (const auto* index = std::get_if<std::size_t>(&path[step]))
                return index;
        return nullptr;
    }

    std::map<JSONPath, JSONPosition> places_;
    std::vector<bool> items_; ///< those with a wanted path
};

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

std::string CheckedConfig::itemID(std::size_t index) const {
    const JSONValue* id = tree(index).find("id");
    return id && id->string() ? item(index).id.text() : std::string();
}

std::string quoteForMessage(std::string_view text) {
    return "\"" + singleLine(text, 60) + "\"";
}

std::string suggestion(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string near = nearest(word, candidates);
    return near.empty() ? "." : localized("; did you mean %1?", {quoteForMessage(near)});
}

Diagnostic makeDiagnostic(RuleID rule, std::string message, std::string path, JSONPosition position) {
    return {.severity = configRule(rule).severity,
            .code = std::string(configRule(rule).code),
            .message = std::move(message),
            .path = std::move(path),
            .position = position};
}

void ConfigFindings::add(RuleID rule, JSONPath path, std::string message) {
    addAt(rule, path, std::move(message), {});
    pending_.push_back({std::move(path), findings_.size() - 1, false});
}

void ConfigFindings::addForItem(RuleID rule, std::size_t index, const std::vector<std::string>& members,
                                std::string message) {
    addForItemAt(rule, index, config_.memberPath(index, members), std::move(message));
}

void ConfigFindings::addForItemAt(RuleID rule, std::size_t index, JSONPath path, std::string message) {
    add(rule, std::move(path), std::move(message));
    findings_.back().itemID = config_.itemID(index);
}

void ConfigFindings::addAt(RuleID rule, const JSONPath& path, std::string message, JSONPosition position) {
    findings_.push_back(makeDiagnostic(rule, std::move(message), describe(path), position));
}

void ConfigFindings::relate(std::size_t index, const std::string& member, std::string message) {
    JSONPath path = config_.memberPath(index, {member});
    findings_.back().related = {.message = std::move(message), .path = describe(path), .position = {}};
    pending_.push_back({std::move(path), findings_.size() - 1, true});
}

std::vector<Diagnostic> ConfigFindings::finished(std::string_view text) {
    if (!pending_.empty()) {
        PlaceCollector places;
        for (const Pending& pending : pending_)
            places.want(pending.path);
        (void)JSONScanner(text, &places).scan();
        for (const Pending& pending : pending_) {
            Diagnostic& finding = findings_[pending.finding];
            (pending.isRelated ? finding.related->position : finding.position) = places.place(pending.path);
        }
    }
    std::ranges::stable_sort(findings_, {}, [](const Diagnostic& found) {
        return std::pair(found.position.line, found.position.column);
    });
    return std::move(findings_);
}

} // namespace varnel
