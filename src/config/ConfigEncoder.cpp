#include "base/JSONWriter.h"
#include "base/Text.h"
#include "config/ConfigDocument.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace varnel {
namespace {

// A canonical item takes some 400 bytes.
constexpr std::size_t kBytesPerItemGuess = 448;

bool isWritable(std::string_view text) {
    const bool ascii =
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return ascii || isValidUTF8(text);
}

/// Why nobody could read the value again, or nothing. `level` is the value's own level in the document.
const char* objection(const JSONValue& value, int level) {
    if (level > kMaximumJSONDepth)
        return "is nested too deeply";
    if (const double* number = value.number())
        return std::isfinite(*number) ? nullptr : "holds a number that is not finite";
    if (const std::string* text = value.string())
        return isWritable(*text) ? nullptr : "holds text that is not UTF-8";
    if (const JSONValue::Array* elements = value.array())
        for (const JSONValue& element : *elements)
            if (const char* reason = objection(element, level + 1))
                return reason;
    if (const JSONValue::Object* members = value.object())
        for (const auto& [key, member] : *members) {
            if (!isWritable(key))
                return "holds text that is not UTF-8";
            if (const char* reason = objection(member, level + 1))
                return reason;
        }
    return nullptr;
}

const char* objection(const JSONValue::Object& members, int level) {
    for (const auto& [key, member] : members) {
        if (!isWritable(key))
            return "holds text that is not UTF-8";
        if (const char* reason = objection(member, level))
            return reason;
    }
    return nullptr;
}

/// Levels of the canonical document: document 1, items 2, item 3, action 4, params 5, a parameter 6.
constexpr int kParameterLevel = 6;
/// Document 1, plugin settings 2, one plugin's 3, a setting 4.
constexpr int kSettingLevel = 4;

const char* objection(const ConfigItem& item) {
    const bool keysFine = std::all_of(item.keys.begin(), item.keys.end(), isWritable);
    if (!keysFine || !isWritable(item.name))
        return "holds text that is not UTF-8";
    if (!item.action)
        return nullptr;
    if (!isWritable(item.action->pluginID) || !isWritable(item.action->actionID))
        return "holds text that is not UTF-8";
    return objection(item.action->params, kParameterLevel);
}

std::unexpected<ConfigEncodingError> refusal(const std::string& what, const char* reason) {
    return std::unexpected(ConfigEncodingError{what + " " + reason});
}

std::string shownName(const ConfigItem& item) {
    return isWritable(item.name) && !item.name.empty() ? "the item \"" + singleLine(item.name, 60) + "\""
                                                       : "the item " + item.id.text();
}

void writeMembers(JSONPrettyWriter& out, const JSONValue::Object& members) {
    out.beginObject();
    for (const auto& [key, value] : members) {
        out.key(key);
        out.value(value);
    }
    out.endObject();
}

void writeAction(JSONPrettyWriter& out, const std::optional<ConfigAction>& action) {
    out.key("action");
    if (!action) {
        out.null();
        return;
    }
    out.beginObject();
    out.key("actionID");
    out.string(action->actionID);
    out.key("params");
    writeMembers(out, action->params);
    out.key("pluginID");
    out.string(action->pluginID);
    out.endObject();
}

void writeItem(JSONPrettyWriter& out, const ConfigItem& item) {
    out.beginObject();
    writeAction(out, item.action);
    if (item.allowsPassthroughPrefix) {
        out.key("allowsPassthroughPrefix");
        out.boolean(*item.allowsPassthroughPrefix);
    }
    out.key("id");
    out.string(item.id.text());
    out.key("isEnabled");
    out.boolean(item.isEnabled);
    out.key("keys");
    out.beginArray();
    for (const std::string& step : item.keys)
        out.string(step);
    out.endArray();
    out.key("name");
    out.string(item.name);
    out.key("type");
    out.string(itemTypeName(item.type));
    out.endObject();
}

} // namespace

std::expected<std::string, ConfigEncodingError> encodeDocument(const std::vector<ConfigItem>& items,
                                                               const PluginSettings& pluginSettings) {
    for (const ConfigItem& item : items)
        if (const char* reason = objection(item))
            return refusal(shownName(item), reason);
    for (const auto& [plugin, settings] : pluginSettings)
        if (const char* reason = isWritable(plugin) ? objection(settings, kSettingLevel)
                                                    : "is named in text that is not UTF-8")
            return refusal("the plugin settings of \"" + singleLine(plugin, 60) + "\"", reason);
    std::string text;
    text.reserve(items.size() * kBytesPerItemGuess + 64);
    JSONPrettyWriter out(text);
    out.beginObject();
    out.key("items");
    out.beginArray();
    for (const ConfigItem& item : items)
        writeItem(out, item);
    out.endArray();
    out.key("pluginSettings");
    out.beginObject();
    for (const auto& [plugin, settings] : pluginSettings) {
        out.key(plugin);
        writeMembers(out, settings);
    }
    out.endObject();
    out.endObject();
    return text;
}

std::expected<std::string, ConfigEncodingError> encodeItem(const ConfigItem& item) {
    if (const char* reason = objection(item))
        return refusal(shownName(item), reason);
    std::string text;
    JSONPrettyWriter out(text);
    writeItem(out, item);
    return text;
}

} // namespace varnel
