#pragma once

#include "base/JSONValue.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varnel {

/// Nesting deeper than this is an error; the top-level value is level 1.
inline constexpr int kMaximumJSONDepth = 512;

/// A place in a JSON text, counted from 1; columns count characters, not bytes.
struct JSONPosition {
    int line = 0;
    int column = 0;
    friend bool operator==(const JSONPosition&, const JSONPosition&) = default;
};

/// Why a text is not JSON: what was wrong and where.
struct JSONError {
    std::string message; ///< for example "expected a value, found ']'"
    JSONPosition position;
    friend bool operator==(const JSONError&, const JSONError&) = default;
};
/// "message (line L, column C)".
std::string describe(const JSONError& error);

/// Reads one JSON text (RFC 8259) strictly: UTF-8, one value, an optional byte-order mark; of duplicate keys the
/// last wins. Comments, trailing commas, lone surrogates, numbers beyond double range, invalid UTF-8, NUL bytes
/// and nesting beyond `kMaximumJSONDepth` are errors. Never throws.
std::expected<JSONValue, JSONError> readJSON(std::string_view text);

/// A step of a path into a JSON value: a member's key or an array's index.
using JSONPathStep = std::variant<std::string, std::size_t>;
using JSONPath = std::vector<JSONPathStep>;
/// The path as messages show it: `items[3].keys`; keys that are no plain names are quoted: `params["a b"]`. The empty path is "".
std::string describe(const JSONPath& path);

/// Where the value at `path` begins in `text`, which must be valid JSON; of duplicate keys the last. A slow pass
/// over the text, for error messages. When the path does not exist, the place of its longest existing part.
JSONPosition findJSONPosition(std::string_view text, const JSONPath& path);

/// A key that an object of the text holds more than once: the object's path and the place of the later one.
struct JSONDuplicateKey {
    JSONPath object;
    std::string key;
    JSONPosition position;
};
std::vector<JSONDuplicateKey> findDuplicateKeys(std::string_view text);

} // namespace varnel
