#pragma once

#include "config/ConfigClipboard.h"

class QClipboard;

namespace varnel {

/// Copying and pasting on X11. Both types are offered at once, so that no clipboard manager sees half of a
/// copy. What was copied outlives the program where a clipboard manager runs: Qt hands it over when the
/// application object ends, which may take a few seconds. Managers keep plain text at least, and that pastes
/// again.
class QtClipboard : public ConfigClipboardWriting, public ConfigClipboardReading {
public:
    /// The clipboard of the application object, which must be alive at each call.
    explicit QtClipboard(QClipboard& clipboard)
        : clipboard_(clipboard) {}
    [[nodiscard]] bool write(const ConfigItem& item) override;
    [[nodiscard]] std::optional<std::string> data(std::string_view type) override;
    [[nodiscard]] std::optional<std::string> plainText() override;

private:
    QClipboard& clipboard_;
};

} // namespace varnel
