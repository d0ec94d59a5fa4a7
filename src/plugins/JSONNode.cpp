#include "plugins/JSONNode.h"

#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <cmath>

namespace varnel {

namespace {

/// What stands where something else was expected; short texts and numbers are quoted.
std::string found(const JSONValue* value) {
    constexpr std::size_t kLongestQuote = 40;
    if (!value)
        return localized("nothing");
    std::string quoted;
    if (const std::string* text = value->string())
        appendJSONString(quoted, *text, false);
    else if (const double* number = value->number())
        appendJSONNumber(quoted, *number);
    const std::string kind = localized(value->kindName());
    return quoted.empty() || quoted.size() > kLongestQuote ? kind : kind + " (" + quoted + ")";
}

} // namespace

JSONNode JSONNode::operator[](std::string_view key) const {
    if (value_ && value_->object())
        return {value_->find(key), failure_, this, key, 0};
    expected("an object");
    return {nullptr, failure_, this, key, 0};
}

std::string JSONNode::text() const {
    if (const std::string* text = string())
        return *text;
    expected("a string");
    return {};
}

bool JSONNode::boolean() const {
    if (const bool* value = value_ ? value_->boolean() : nullptr)
        return *value;
    expected("a boolean");
    return false;
}

long long JSONNode::integer() const {
    constexpr double kLargestExact = 9007199254740992; // 2^53: beyond it doubles skip whole numbers
    const double* number = value_ ? value_->number() : nullptr;
    if (number && std::trunc(*number) == *number && std::abs(*number) <= kLargestExact)
        return static_cast<long long>(*number);
    expected("a whole number");
    return 0;
}

JSONValue::Object JSONNode::object() const {
    if (const JSONValue::Object* members = value_ ? value_->object() : nullptr)
        return *members;
    expected("an object");
    return {};
}

JSONValue JSONNode::any() const {
    if (value_)
        return *value_;
    expected("a value");
    return {};
}

void JSONNode::expected(std::string_view what) const {
    if (!failure_)
        failure_ = Failure{path(), localized("expected %1, found %2", {localized(what), found(value_)})};
}

JSONPath JSONNode::path() const {
    JSONPath steps;
    for (const JSONNode* node = this; node->parent_; node = node->parent_) {
        if (node->key_.data())
            steps.emplace_back(std::string(node->key_));
        else
            steps.emplace_back(node->index_);
    }
    std::ranges::reverse(steps);
    return steps;
}

std::string describe(const JSONDecodingError& error) {
    std::string place = describe(error.path);
    return (place.empty() ? "" : place + ": ") + describe(JSONError{error.message, error.position});
}

} // namespace varnel
