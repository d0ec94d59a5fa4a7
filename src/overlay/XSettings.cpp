#include "overlay/XSettings.h"

#include "base/Text.h"

#include <optional>

namespace varnel {
namespace {

enum Type : std::uint8_t { integer = 0, text = 1, color = 2 };

/// Takes numbers and texts off the front; once something is missing nothing more is given.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes)
        : bytes_(bytes) {}

    std::optional<std::uint32_t> number(std::size_t width) {
        const auto bytes = take(width);
        if (!bytes)
            return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < width; ++i)
            value = value << 8 | (*bytes)[isBigEndian ? i : width - 1 - i];
        return value;
    }
    /// A text with the padding behind it.
    std::optional<std::string> padded(std::size_t length) {
        const auto bytes = take(length);
        if (!bytes || !take((4 - length % 4) % 4))
            return std::nullopt;
        return std::string(bytes->begin(), bytes->end());
    }
    bool isBigEndian = false;

private:
    std::optional<std::span<const std::uint8_t>> take(std::size_t count) {
        if (bytes_.size() < count)
            return std::nullopt;
        const auto taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }
    std::span<const std::uint8_t> bytes_;
};

/// Reads one setting into `settings`; false when there is none.
bool readSetting(Reader& reader, XSettings& settings) {
    const auto type = reader.number(1);
    if (!type || !reader.number(1))
        return false;
    const auto nameLength = reader.number(2);
    if (!nameLength)
        return false;
    auto name = reader.padded(*nameLength);
    if (!name || !reader.number(4)) // the serial of its last change
        return false;
    if (*type == color)
        return reader.number(4) && reader.number(4);
    const auto value = reader.number(4); // of a text, its length
    if (!value || *type > color)
        return false;
    if (*type == integer) {
        settings.insert_or_assign(std::move(*name), static_cast<std::int32_t>(*value));
        return true;
    }
    auto content = reader.padded(*value);
    if (content)
        settings.insert_or_assign(std::move(*name), std::move(*content));
    return content.has_value();
}

} // namespace

XSettings parseXSettings(std::span<const std::uint8_t> property) {
    XSettings settings;
    Reader reader(property);
    const auto order = reader.number(1);
    reader.isBigEndian = order == 1u;
    if (!order || !reader.number(1) || !reader.number(2) || !reader.number(4))
        return settings;
    const auto count = reader.number(4);
    for (std::uint32_t i = 0; count && i < *count; ++i)
        if (!readSetting(reader, settings))
            break;
    return settings;
}

bool disablesAnimations(const XSettings& settings) {
    const auto found = settings.find("Gtk/EnableAnimations");
    const auto* value = found == settings.end() ? nullptr : std::get_if<std::int32_t>(&found->second);
    return value && *value == 0;
}

bool usesDarkTheme(const XSettings& settings) {
    const auto found = settings.find("Net/ThemeName");
    const auto* name = found == settings.end() ? nullptr : std::get_if<std::string>(&found->second);
    return name && lowercased(*name).find("dark") != std::string::npos;
}

} // namespace varnel
