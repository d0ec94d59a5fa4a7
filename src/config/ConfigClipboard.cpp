#include "config/ConfigClipboard.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <utility>

namespace varnel {

std::string describe(const ConfigPasteError& error) {
    if (!error.decoding)
        return localized("The clipboard holds no group or shortcut.");
    return localized("The group or shortcut on the clipboard cannot be read: %1",
                     {describe(*error.decoding)});
}

std::expected<ConfigItem, ConfigPasteError> itemOnClipboard(ConfigClipboardReading& clipboard) {
    ConfigPasteError error;
    const auto decoded = [&](const std::optional<std::string>& data) -> std::optional<ConfigItem> {
        if (!data || data->size() > kMaximumClipboardItemBytes)
            return std::nullopt;
        auto item = decodeItem(*data);
        if (item)
            return std::move(*item);
        if (!error.decoding)
            error.decoding = std::move(item.error());
        return std::nullopt;
    };
    for (const std::string_view type : {kConfigItemClipboardType, kEarlierConfigItemClipboardType})
        if (auto item = decoded(clipboard.data(type)))
            return std::move(*item);
    // Other text is not meant for us: its faults are told only when it looks like an item.
    if (const auto text = clipboard.plainText(); text && trimmed(*text).starts_with('{'))
        if (auto item = decoded(text))
            return std::move(*item);
    return std::unexpected(std::move(error));
}

} // namespace varnel
