#include "plugins/PluginProtocol.h"

#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "base/Text.h"
#include "plugins/JSONNode.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace varnel {

namespace {

/// True when JSON can hold the value: no infinite numbers, no text that is not UTF-8.
bool isEncodable(const JSONValue& value) {
    if (const double* number = value.number())
        return std::isfinite(*number);
    if (const std::string* text = value.string())
        return isValidUTF8(*text);
    if (const JSONValue::Array* array = value.array()) {
        for (const JSONValue& element : *array)
            if (!isEncodable(element))
                return false;
    } else if (const JSONValue::Object* object = value.object()) {
        for (const auto& [key, member] : *object)
            if (!isValidUTF8(key) || !isEncodable(member))
                return false;
    }
    return true;
}

JSONValue encode(const PluginExecutionContext& context) {
    JSONValue::Object object{{"configPath", context.configPath}, {"timestamp", context.timestamp}};
    if (context.frontmostAppBundleID)
        object["frontmostAppBundleID"] = *context.frontmostAppBundleID;
    return object;
}

std::expected<std::string, std::string> finish(JSONValue::Object object) {
    JSONValue value(std::move(object));
    if (!isEncodable(value))
        return std::unexpected(
            localized("The request holds text that is not UTF-8, or a number that JSON does not have."));
    return writeCompactJSON(value);
}

JSONValue::Array encode(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

PluginExecutionResponse decodeResponseNode(const JSONNode& node) {
    auto texts = [](const JSONNode& list) { return list.texts(); };
    PluginExecutionResponse response;
    response.success = node["success"].boolean();
    response.message = node["message"].optionalText();
    response.searchKeywords = node["searchKeywords"].optionally(texts);
    response.updatedDefaults =
        node["updatedDefaults"].optionally([](const JSONNode& defaults) { return defaults.object(); });
    response.warnings = node["warnings"].optionally(texts);
    return response;
}

PluginChoice decodeChoice(const JSONNode& node) {
    return {.id = node["id"].text(),
            .title = node["title"].text(),
            .detail = node["detail"].optionalText(),
            .label = node["label"].optionalText()};
}

} // namespace

std::string pluginTimestamp(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[40];
    std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

std::expected<std::string, std::string> encodeRequest(const PluginExecutionRequest& request) {
    return finish({{"pluginID", request.pluginID},
                   {"actionID", request.actionID},
                   {"params", request.params},
                   {"settings", request.settings},
                   {"context", encode(request.context)}});
}

std::expected<std::string, std::string> encodeRequest(const PluginHookRequest& request) {
    return finish({{"pluginID", request.pluginID},
                   {"hook", jsonName(request.hook)},
                   {"settings", request.settings},
                   {"context", encode(request.context)}});
}

std::expected<PluginExecutionResponse, JSONDecodingError> decodeResponse(std::string_view text) {
    return decodeJSON(trimmed(text), decodeResponseNode);
}

std::string encodeResponse(const PluginExecutionResponse& response) {
    JSONValue::Object object{{"success", response.success}};
    if (response.message)
        object["message"] = *response.message;
    if (response.searchKeywords)
        object["searchKeywords"] = encode(*response.searchKeywords);
    if (response.updatedDefaults)
        object["updatedDefaults"] = *response.updatedDefaults;
    if (response.warnings)
        object["warnings"] = encode(*response.warnings);
    return writeCompactJSON(object);
}

std::expected<std::vector<PluginChoice>, JSONDecodingError> decodeChoices(std::string_view text) {
    return decodeJSON(trimmed(text),
                      [](const JSONNode& node) { return node["choices"].list("choices", decodeChoice); });
}

} // namespace varnel
