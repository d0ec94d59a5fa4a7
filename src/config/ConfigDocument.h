#pragma once

#include "base/JSONReader.h"
#include "config/ConfigItem.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// What is wrong at one place of a configuration text.
struct ConfigFault {
    JSONPath path;       ///< empty for the whole document and for text that is no JSON
    std::string message; ///< the expectation: "expected an array of strings, found a number"
    JSONPosition position;
    friend bool operator==(const ConfigFault&, const ConfigFault&) = default;
};
/// "items[3].keys: expected an array of strings, found a number (line 41, column 15)".
std::string describe(const ConfigFault& fault);

/// Why a text is no configuration. A text is tried as the document object first and as a bare array of items
/// second; `fault` is what the second attempt met. For an object at the top level that only says that it is
/// no array, so `cause` carries what the first attempt met.
struct ConfigDecodingError {
    ConfigFault fault;
    std::optional<ConfigFault> cause;

    /// The fault that helps the user: the cause if there is one.
    [[nodiscard]] const ConfigFault& leading() const { return cause ? *cause : fault; }
    friend bool operator==(const ConfigDecodingError&, const ConfigDecodingError&) = default;
};
/// One line that leads with `leading()`.
std::string describe(const ConfigDecodingError& error);

/// A value that no file could hold: a number that is not finite, text that is not UTF-8, or nesting too deep
/// to be read again.
struct ConfigEncodingError {
    std::string message;
    friend bool operator==(const ConfigEncodingError&, const ConfigEncodingError&) = default;
};
std::string describe(const ConfigEncodingError& error);

/// Reads a configuration in any of its forms: the document object or a bare array of items, actions as
/// (plugin, action, parameters) or as older typed records, which are converted. Items without an identifier
/// get a random one. No partial results. Any thread; never throws on bad input.
std::expected<ConfigFileDocument, ConfigDecodingError> decodeDocument(std::string_view data);

/// The canonical file: pretty printed, keys sorted, always the document object, no line break at the end.
std::expected<std::string, ConfigEncodingError> encodeDocument(const std::vector<ConfigItem>& items,
                                                               const PluginSettings& pluginSettings);

/// Reads and writes one item alone, for the clipboard.
std::expected<ConfigItem, ConfigDecodingError> decodeItem(std::string_view data);
std::expected<std::string, ConfigEncodingError> encodeItem(const ConfigItem& item);

/// What a first start writes: six items with fresh random identifiers and no plugin settings.
ConfigFileDocument makeDefaultDocument();

std::string_view itemTypeName(ItemType type); ///< "group" or "action"

} // namespace varnel
