#pragma once

#include "config/ConfigClipboard.h"

#include <cstdint>
#include <functional>

namespace varnel {

/// The general pasteboard of macOS; one entry for each call. Main thread.
struct PasteboardTable {
    std::function<std::int64_t()> clearContents; ///< the new change count
    std::function<bool(const std::string& type, std::string_view data)> setData;
    std::function<bool(std::string_view text)> setString; ///< as plain text; `text` is UTF-8
    std::function<std::optional<std::string>(const std::string& type)> dataForType;
    std::function<std::optional<std::string>()> string; ///< the plain text, as UTF-8
};

/// Copying and pasting over that table.
class PasteboardClipboard : public ConfigClipboardWriting, public ConfigClipboardReading {
public:
    explicit PasteboardClipboard(PasteboardTable table)
        : table_(std::move(table)) {}
    [[nodiscard]] bool write(const ConfigItem& item) override;
    [[nodiscard]] std::optional<std::string> data(std::string_view type) override;
    [[nodiscard]] std::optional<std::string> plainText() override;

private:
    PasteboardTable table_;
};

} // namespace varnel
