#include "base/JSONScanner.h"
#include "base/Localized.h"
#include "documents/KarabinerManipulator.h"

#include <map>

namespace varnel {
namespace {

/// Remembers where rules and manipulators begin, in one pass.
class PlaceCollector : public JSONPlaceVisitor {
public:
    void value(const JSONPath& path, JSONPosition position) override {
        const bool isElement = !path.empty() && std::holds_alternative<std::size_t>(path.back());
        if (isElement && path.size() <= kDeepest)
            lines_[path] = position.line;
    }
    void key(const JSONPath&, const std::string&, JSONPosition) override {}
    [[nodiscard]] int line(const JSONPath& path) const {
        const auto found = lines_.find(path);
        return found == lines_.end() ? 1 : found->second;
    }

private:
    /// profiles[0].complex_modifications.rules[0].manipulators[0]
    static constexpr std::size_t kDeepest = 7;
    std::map<JSONPath, int> lines_;
};

/// Where the rules are, in the three kinds of files.
std::optional<JSONPath> rulesPath(const JSONValue& root) {
    if (root.array())
        return JSONPath{};
    if (const JSONValue* rules = root.find("rules"); rules && rules->array())
        return JSONPath{"rules"};
    const JSONValue* profiles = root.find("profiles");
    if (!profiles || !profiles->array() || profiles->array()->empty())
        return std::nullopt;
    std::size_t chosen = 0;
    for (std::size_t i = profiles->array()->size(); i-- > 0;) {
        const JSONValue* selected = (*profiles->array())[i].find("selected");
        if (selected && selected->boolean() && *selected->boolean())
            chosen = i;
    }
    return JSONPath{"profiles", chosen, "complex_modifications", "rules"};
}

const JSONValue* follow(const JSONValue& root, const JSONPath& path) {
    const JSONValue* value = &root;
    for (const JSONPathStep& step : path) {
        if (const auto* key = std::get_if<std::string>(&step))
            value = value->find(*key);
        else
            value = &(*value->array())[std::get<std::size_t>(step)];
        if (!value)
            return nullptr;
    }
    return value;
}

JSONPath below(JSONPath path, JSONPathStep step) {
    path.push_back(std::move(step));
    return path;
}

void addRule(std::vector<KarabinerEntry>& entries, const JSONValue& rule, const JSONPath& path,
             const PlaceCollector& places) {
    KarabinerEntry entry;
    entry.line = places.line(path);
    entry.rule = entries.empty() ? 0 : entries.back().rule + 1;
    if (const JSONValue* text = rule.find("description"); text && text->string())
        entry.ruleDescription = *text->string();
    const JSONValue* enabled = rule.find("enabled");
    entry.isEnabled = !(enabled && enabled->boolean() && !*enabled->boolean());
    const JSONValue* manipulators = rule.find("manipulators");
    if (!manipulators || !manipulators->array() || manipulators->array()->empty()) {
        entries.push_back(std::move(entry));
        return;
    }
    entry.isAloneInRule = manipulators->array()->size() == 1;
    const JSONPath list = below(path, "manipulators");
    for (std::size_t i = 0; i < manipulators->array()->size(); ++i) {
        entry.value = (*manipulators->array())[i];
        entry.line = places.line(below(list, i));
        entries.push_back(entry);
    }
}

} // namespace

std::expected<std::vector<KarabinerEntry>, JSONError> readKarabiner(std::string_view text) {
    const auto root = readJSON(text);
    if (!root)
        return std::unexpected(root.error());
    PlaceCollector places;
    JSONScanner(text, &places).scan();
    std::vector<KarabinerEntry> entries;
    if (root->find("manipulators")) {
        addRule(entries, *root, {}, places);
        return entries;
    }
    const auto path = rulesPath(*root);
    if (!path)
        return std::unexpected(JSONError{
            localized(
                "expected complex modifications: an object with \"rules\", \"manipulators\" or \"profiles\""),
            {1, 1}});
    const JSONValue* rules = follow(*root, *path);
    if (rules && rules->array())
        for (std::size_t i = 0; i < rules->array()->size(); ++i)
            addRule(entries, (*rules->array())[i], below(*path, i), places);
    return entries;
}

} // namespace varnel
