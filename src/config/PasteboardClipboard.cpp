#include "config/PasteboardClipboard.h"

namespace varnel {

bool PasteboardClipboard::write(const ConfigItem& item) {
    const auto json = encodeItem(item);
    if (!json || table_.clearContents() < 1)
        return false;
    return table_.setData(std::string(kConfigItemClipboardType), *json) && table_.setString(*json);
}

std::optional<std::string> PasteboardClipboard::data(std::string_view type) {
    return table_.dataForType(std::string(type));
}

std::optional<std::string> PasteboardClipboard::plainText() {
    return table_.string();
}

} // namespace varnel
