#pragma once

#include "base/JSONValue.h"
#include "plugins/PluginManifest.h"

#include <chrono>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// The command words: the only argument that a plugin's executable gets.
namespace pluginCommandWord {
inline constexpr std::string_view action = "action";
inline constexpr std::string_view hook = "hook";
inline constexpr std::string_view choices = "choices";
} // namespace pluginCommandWord

/// The parameter under which an action with dynamic choices receives the `id` of the choice that was picked.
inline constexpr std::string_view kPluginChoiceParameter = "choice";

/// "2025-01-01T12:00:00Z": ISO 8601 in UTC with seconds.
std::string pluginTimestamp(std::chrono::system_clock::time_point time);

struct PluginExecutionContext {
    std::string configPath;
    std::optional<std::string> frontmostAppBundleID;
    std::string timestamp;
};

/// What a plugin reads for an action; for its choices too.
struct PluginExecutionRequest {
    std::string pluginID;
    std::string actionID;
    JSONValue::Object params;
    JSONValue::Object settings;
    PluginExecutionContext context;
};

struct PluginHookRequest {
    std::string pluginID;
    PluginHook hook = PluginHook::appDidLaunch;
    JSONValue::Object settings;
    PluginExecutionContext context;
};

/// One line of JSON; members without a value are left out. The error is a sentence: text that is not UTF-8 or
/// numbers that JSON does not have.
std::expected<std::string, std::string> encodeRequest(const PluginExecutionRequest& request);
std::expected<std::string, std::string> encodeRequest(const PluginHookRequest& request);

/// What a plugin writes after an action.
struct PluginExecutionResponse {
    bool success = false;
    std::optional<std::string> message;
    std::optional<std::vector<std::string>> searchKeywords;
    std::optional<JSONValue::Object> updatedDefaults;
    std::optional<std::vector<std::string>> warnings;
    friend bool operator==(const PluginExecutionResponse&, const PluginExecutionResponse&) = default;
};
/// White space around the object is fine; so are unknown members. Null counts as absent. Never throws.
std::expected<PluginExecutionResponse, JSONDecodingError> decodeResponse(std::string_view text);
/// One line; for `varnel plugins run`.
std::string encodeResponse(const PluginExecutionResponse& response);

/// One of the values that a plugin offers for an action.
struct PluginChoice {
    std::string id;
    std::string title;
    std::optional<std::string> detail;
    std::optional<std::string> label; ///< the letters that pick it, when the plugin wants to decide them
    friend bool operator==(const PluginChoice&, const PluginChoice&) = default;
};
/// The answer to "choices": `{"choices":[{"id","title","detail","label"}…]}`, `detail` and `label` optional.
std::expected<std::vector<PluginChoice>, JSONDecodingError> decodeChoices(std::string_view text);

} // namespace varnel
