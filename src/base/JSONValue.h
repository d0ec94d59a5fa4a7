#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace varnel {

/// Any JSON value. Numbers are doubles; object members are sorted by the bytes of their keys. A plain value,
/// compared by content.
class JSONValue {
public:
    using Array = std::vector<JSONValue>;
    using Object = std::map<std::string, JSONValue, std::less<>>;

    JSONValue() = default;
    JSONValue(std::nullptr_t) {}
    JSONValue(bool value) : value_(value) {}
    JSONValue(double value) : value_(value) {}
    JSONValue(int value) : value_(static_cast<double>(value)) {}
    JSONValue(std::string value) : value_(std::move(value)) {}
    JSONValue(std::string_view value) : value_(std::string(value)) {}
    JSONValue(const char* value) : value_(std::string(value)) {}
    JSONValue(Array value) : value_(std::move(value)) {}
    JSONValue(Object value) : value_(std::move(value)) {}

    [[nodiscard]] bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
    /// The content when the value is of that kind, else null.
    [[nodiscard]] const bool* boolean() const { return std::get_if<bool>(&value_); }
    [[nodiscard]] const double* number() const { return std::get_if<double>(&value_); }
    [[nodiscard]] const std::string* string() const { return std::get_if<std::string>(&value_); }
    [[nodiscard]] const Array* array() const { return std::get_if<Array>(&value_); }
    [[nodiscard]] const Object* object() const { return std::get_if<Object>(&value_); }
    [[nodiscard]] Array* array() { return std::get_if<Array>(&value_); }
    [[nodiscard]] Object* object() { return std::get_if<Object>(&value_); }

    /// The member `key` of an object; null when there is none or this is no object.
    [[nodiscard]] const JSONValue* find(std::string_view key) const {
        const Object* members = object();
        if (!members)
            return nullptr;
        auto it = members->find(key);
        return it == members->end() ? nullptr : &it->second;
    }

    /// "null", "a boolean", "a number", "a string", "an array" or "an object", for error messages.
    [[nodiscard]] std::string_view kindName() const;

    friend bool operator==(const JSONValue&, const JSONValue&) = default;

private:
    std::variant<std::monostate, bool, double, std::string, Array, Object> value_;
};

} // namespace varnel
