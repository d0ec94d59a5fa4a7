#include "base/JSONStream.h"

#include <utility>

namespace varnel {

bool JSONTreeBuilder::add(JSONValue value) {
    if (open_.empty()) {
        result_ = std::move(value);
        complete_ = true;
    } else if (auto* members = open_.back().value.object()) {
        // Sorted input appends at the end; of equal keys the later value stays.
        members->insert_or_assign(members->end(), std::move(open_.back().key), std::move(value));
    } else {
        open_.back().value.array()->push_back(std::move(value));
    }
    return true;
}

bool JSONTreeBuilder::close() {
    JSONValue value = std::move(open_.back().value);
    open_.pop_back();
    return add(std::move(value));
}

bool JSONTreeBuilder::beginObject() {
    open_.push_back({JSONValue::Object{}, {}});
    return true;
}
bool JSONTreeBuilder::beginArray() {
    open_.push_back({JSONValue::Array{}, {}});
    return true;
}
bool JSONTreeBuilder::endObject() {
    return close();
}
bool JSONTreeBuilder::endArray() {
    return close();
}
bool JSONTreeBuilder::key(std::string_view key) {
    open_.back().key = key;
    return true;
}
bool JSONTreeBuilder::string(std::string_view text) {
    return add(text);
}
bool JSONTreeBuilder::number(double value) {
    return add(value);
}
bool JSONTreeBuilder::boolean(bool value) {
    return add(value);
}
bool JSONTreeBuilder::null() {
    return add(nullptr);
}

JSONValue JSONTreeBuilder::take() {
    complete_ = false;
    open_.clear();
    return std::exchange(result_, JSONValue());
}

} // namespace varnel
