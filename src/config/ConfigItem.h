#pragma once

#include "base/JSONValue.h"
#include "base/Uuid.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

enum class ItemType { group, action };

/// What an item runs: an action of a plugin, with its parameters. Built-in kinds use reserved identifiers.
struct ConfigAction {
    std::string pluginID;
    std::string actionID;
    JSONValue::Object params;
    friend bool operator==(const ConfigAction&, const ConfigAction&) = default;
};

/// One node of the configuration. `keys` is the whole sequence from the top level, one step an element.
struct ConfigItem {
    Uuid id;
    std::string name;
    std::vector<std::string> keys;
    ItemType type = ItemType::action;
    std::optional<ConfigAction> action;
    bool isEnabled = true;
    std::optional<bool> allowsPassthroughPrefix; ///< groups only
    friend bool operator==(const ConfigItem&, const ConfigItem&) = default;
};

/// Plugin identifier to that plugin's settings.
using PluginSettings = std::map<std::string, JSONValue::Object, std::less<>>;

struct ConfigFileDocument {
    std::vector<ConfigItem> items;
    PluginSettings pluginSettings;
    friend bool operator==(const ConfigFileDocument&, const ConfigFileDocument&) = default;
};

/// Reserved identifiers.
namespace core {
inline constexpr const char* application = "core.application";
inline constexpr const char* shell = "core.shell";
inline constexpr const char* window = "core.window";
inline constexpr const char* shortcut = "core.shortcut";
inline constexpr const char* aerospace = "core.aerospace";
inline constexpr const char* runningApps = "core.running-apps";
} // namespace core

} // namespace varnel
