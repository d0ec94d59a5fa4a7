#pragma once

#include "config/ConfigDocument.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// The clipboard's type for one item: JSON in the form of the configuration file.
inline constexpr std::string_view kConfigItemClipboardType = "com.brackwell.varnel.config-item";
/// What earlier versions wrote; only read.
inline constexpr std::string_view kEarlierConfigItemClipboardType = "com.mirren.config-item";
/// Longer content is no item and is not looked at.
inline constexpr std::size_t kMaximumClipboardItemBytes = 1 << 20;

/// Puts one item on the clipboard. Main thread only.
class ConfigClipboardWriting {
public:
    virtual ~ConfigClipboardWriting() = default;
    /// The item under `kConfigItemClipboardType`, and the same JSON as plain text so that it can be pasted
    /// into a text editor. False when the clipboard could not be taken; it then holds what it held, or
    /// nothing.
    [[nodiscard]] virtual bool write(const ConfigItem& item) = 0;
};

/// Looks at the clipboard. Main thread only.
class ConfigClipboardReading {
public:
    virtual ~ConfigClipboardReading() = default;
    /// The bytes under a type; none when the clipboard has no such type.
    [[nodiscard]] virtual std::optional<std::string> data(std::string_view type) = 0;
    [[nodiscard]] virtual std::optional<std::string> plainText() = 0;
};

/// Why there is nothing to paste.
struct ConfigPasteError {
    /// What is wrong with the item on the clipboard; none when no item is there at all.
    std::optional<ConfigDecodingError> decoding;
    friend bool operator==(const ConfigPasteError&, const ConfigPasteError&) = default;
};
std::string describe(const ConfigPasteError& error);

/// The item on the clipboard: under our type, under that of earlier versions, or as plain text that is one
/// valid item, which is how a copy comes back from a text editor or outlives the program that made it. Older
/// forms of actions are converted. The item's identifier may be in use.
std::expected<ConfigItem, ConfigPasteError> itemOnClipboard(ConfigClipboardReading& clipboard);

} // namespace varnel
