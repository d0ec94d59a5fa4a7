#pragma once

#include "keyboard/HotkeyLookupIndex.h"

#include <string>
#include <vector>

namespace varnel::test {

using Keys = std::vector<std::string>;

inline ConfigItem action(std::string name, Keys keys) {
    ConfigItem item;
    item.name = std::move(name);
    item.keys = std::move(keys);
    item.action = ConfigAction{"test", "run", {}};
    return item;
}

inline ConfigItem group(std::string name, Keys keys, bool passesFirstKey = false) {
    ConfigItem item;
    item.name = std::move(name);
    item.keys = std::move(keys);
    item.type = ItemType::group;
    if (passesFirstKey)
        item.allowsPassthroughPrefix = true;
    return item;
}

inline ConfigItem disabled(ConfigItem item) {
    item.isEnabled = false;
    return item;
}

/// An item that asks for one of the windows of an application.
inline ConfigItem windowChooser(std::string name, Keys keys) {
    ConfigItem item = action(std::move(name), std::move(keys));
    item.action = ConfigAction{
        core::application, "open", {{"path", "/a"}, {"windowSelectionMode", "chooseWhenMultiple"}}};
    return item;
}

inline ConfigItems share(std::vector<ConfigItem> items) {
    return std::make_shared<const std::vector<ConfigItem>>(std::move(items));
}

inline HotkeyLookupIndex indexOf(std::vector<ConfigItem> items) {
    return HotkeyLookupIndex::build(share(std::move(items)));
}

} // namespace varnel::test
