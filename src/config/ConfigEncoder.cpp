#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigDocument.h"

#include <algorithm>
#include <cmath>
#include <optional>
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

/// Why nobody could read something again.
enum class Objection { isTooDeep, hasEndlessNumber, hasOtherText };
using PossibleObjection = std::optional<Objection>;

PossibleObjection objection(const std::string& text) {
    return isWritable(text) ? std::nullopt : PossibleObjection(Objection::hasOtherText);
}

PossibleObjection objection(const JSONValue& value, int level);

PossibleObjection objection(const JSONValue::Object& members, int level) {
    for (const auto& [key, member] : members) {
        if (const auto found = objection(key))
            return found;
        if (const auto found = objection(member, level))
            return found;
    }
    return std::nullopt;
}

/// `level` is the value's own level in the document.
PossibleObjection objection(const JSONValue& value, int level) {
    if (level > kMaximumJSONDepth)
        return Objection::isTooDeep;
    if (const double* number = value.number(); number && !std::isfinite(*number))
        return Objection::hasEndlessNumber;
    if (const std::string* text = value.string())
        return objection(*text);
    if (const JSONValue::Array* elements = value.array())
        for (const JSONValue& element : *elements)
            if (const auto found = objection(element, level + 1))
                return found;
    if (const JSONValue::Object* members = value.object())
        return objection(*members, level + 1);
    return std::nullopt;
}

/// Levels of the canonical document: document 1, items 2, item 3, action 4, params 5, a parameter 6.
constexpr int kParameterLevel = 6;
/// Document 1, plugin settings 2, one plugin's 3, a setting 4.
constexpr int kSettingLevel = 4;

PossibleObjection objection(const ConfigItem& item) {
    const bool keysFine = std::all_of(item.keys.begin(), item.keys.end(), isWritable);
    if (!keysFine || !isWritable(item.name))
        return Objection::hasOtherText;
    if (!item.action)
        return std::nullopt;
    if (!isWritable(item.action->pluginID) || !isWritable(item.action->actionID))
        return Objection::hasOtherText;
    return objection(item.action->params, kParameterLevel);
}

std::unexpected<ConfigEncodingError> refusal(const std::string& what, Objection reason) {
    switch (reason) {
    case Objection::isTooDeep:
        return std::unexpected(ConfigEncodingError{localized("%1 is nested too deeply", {what})});
    case Objection::hasEndlessNumber:
        return std::unexpected(
            ConfigEncodingError{localized("%1 holds a number that is not finite", {what})});
    case Objection::hasOtherText:
        break;
    }
    return std::unexpected(ConfigEncodingError{localized("%1 holds text that is not UTF-8", {what})});
}

std::string shownName(const ConfigItem& item) {
    return isWritable(item.name) && !item.name.empty()
               ? localized("the item \"%1\"", {singleLine(item.name, 60)})
               : localized("the item %1", {item.id.text()});
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
        if (const auto found = objection(item))
            return refusal(shownName(item), *found);
    for (const auto& [plugin, settings] : pluginSettings)
        if (const auto found = isWritable(plugin) ? objection(settings, kSettingLevel)
                                                  : PossibleObjection(Objection::hasOtherText))
            return refusal(localized("the plugin settings of \"%1\"", {singleLine(plugin, 60)}), *found);
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
    if (const auto found = objection(item))
        return refusal(shownName(item), *found);
    std::string text;
    JSONPrettyWriter out(text);
    writeItem(out, item);
    return text;
}

} // namespace varnel
