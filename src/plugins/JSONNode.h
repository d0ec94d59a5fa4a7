#pragma once

#include "plugins/PluginManifest.h"

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace varnel {

/// A value inside a JSON text that is being decoded strictly, together with its place. The first thing that
/// does not fit is remembered; from then on every read gives an empty value, so that decoders need no error
/// paths. Nodes live on the stack of the decoder, children inside the life of their parents.
class JSONNode {
public:
    /// Where a decoding's first failure is kept.
    struct Failure {
        JSONPath path;
        std::string message;
    };
    using FailureSlot = std::optional<Failure>;

    JSONNode(const JSONValue& root, FailureSlot& failure)
        : value_(&root)
        , failure_(failure) {}

    /// The member of an object, which may be absent.
    [[nodiscard]] JSONNode operator[](std::string_view key) const;
    /// False for absent members and for null.
    [[nodiscard]] bool isPresent() const { return value_ && !value_->isNull(); }

    [[nodiscard]] std::string text() const;
    [[nodiscard]] bool boolean() const;
    [[nodiscard]] long long integer() const;
    [[nodiscard]] JSONValue::Object object() const;
    /// Any value, null included, but not an absent one.
    [[nodiscard]] JSONValue any() const;

    /// One of the spellings of an enumeration.
    template <typename Enum>
    [[nodiscard]] Enum oneOf() const {
        if (const std::string* spelling = string())
            for (const auto& [value, name] : kJSONNames<Enum>)
                if (name == *spelling)
                    return value;
        std::string names;
        for (const auto& [value, name] : kJSONNames<Enum>)
            names += (names.empty() ? "\"" : ", \"") + std::string(name) + "\"";
        expected("one of " + names);
        return Enum{};
    }

    /// Each element decoded; `elements` names them in the message: "strings".
    template <typename Decode>
    [[nodiscard]] auto list(std::string_view elements, Decode decode) const {
        std::vector<std::remove_cvref_t<std::invoke_result_t<Decode, JSONNode>>> result;
        const JSONValue::Array* array = value_ ? value_->array() : nullptr;
        if (!array)
            expected("an array of " + std::string(elements));
        else
            for (std::size_t i = 0; i < array->size() && !failure_; ++i)
                result.push_back(decode(JSONNode(&(*array)[i], failure_, this, {}, i)));
        return result;
    }
    [[nodiscard]] std::vector<std::string> texts() const {
        return list("strings", [](const JSONNode& node) { return node.text(); });
    }
    /// None when this is absent or null.
    template <typename Decode>
    [[nodiscard]] auto optionally(Decode decode) const {
        using Result = std::remove_cvref_t<std::invoke_result_t<Decode, JSONNode>>;
        return isPresent() ? std::optional<Result>(decode(*this)) : std::nullopt;
    }
    [[nodiscard]] std::optional<std::string> optionalText() const {
        return optionally([](const JSONNode& node) { return node.text(); });
    }

private:
    JSONNode(const JSONValue* value, FailureSlot& failure, const JSONNode* parent, std::string_view key,
             std::size_t index)
        : value_(value)
        , failure_(failure)
        , parent_(parent)
        , key_(key)
        , index_(index) {}

    [[nodiscard]] const std::string* string() const { return value_ ? value_->string() : nullptr; }
    void expected(std::string_view what) const;
    [[nodiscard]] JSONPath path() const;

    const JSONValue* value_;
    FailureSlot& failure_;
    const JSONNode* parent_ = nullptr;
    std::string_view key_; ///< null data for elements of arrays
    std::size_t index_ = 0;
};

/// Reads `text` and decodes its value; failures carry their place.
template <typename Decode>
auto decodeJSON(std::string_view text, Decode decode)
    -> std::expected<std::remove_cvref_t<std::invoke_result_t<Decode, JSONNode>>, JSONDecodingError> {
    auto value = readJSON(text);
    if (!value)
        return std::unexpected(JSONDecodingError{{}, value.error().message, value.error().position});
    JSONNode::FailureSlot failure;
    auto result = decode(JSONNode(*value, failure));
    if (failure)
        return std::unexpected(
            JSONDecodingError{failure->path, failure->message, findJSONPosition(text, failure->path)});
    return result;
}

} // namespace varnel
