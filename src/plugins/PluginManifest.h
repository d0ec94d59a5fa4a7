#pragma once

#include "base/JSONReader.h"
#include "base/JSONValue.h"

#include <array>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varnel {

/// The spellings of an enumeration in JSON; specialised beside each enumeration.
template <typename Enum>
inline constexpr std::array<std::pair<Enum, std::string_view>, 0> kJSONNames{};

/// What a plugin says that it offers; informative.
enum class PluginCapability { actions, settings, hooks };
template <>
inline constexpr auto kJSONNames<PluginCapability> =
    std::to_array<std::pair<PluginCapability, std::string_view>>({{PluginCapability::actions, "actions"},
                                                                  {PluginCapability::settings, "settings"},
                                                                  {PluginCapability::hooks, "hooks"}});

/// A moment of the application's life that a plugin wants to hear of.
enum class PluginHook { appDidLaunch, configDidReload };
template <>
inline constexpr auto kJSONNames<PluginHook> = std::to_array<std::pair<PluginHook, std::string_view>>(
    {{PluginHook::appDidLaunch, "appDidLaunch"}, {PluginHook::configDidReload, "configDidReload"}});

/// Kind of editor and of value of a form's field.
enum class PluginFieldKind { string, shortcut, boolean, enumChoice, path, integer, number };
template <>
inline constexpr auto kJSONNames<PluginFieldKind> =
    std::to_array<std::pair<PluginFieldKind, std::string_view>>({{PluginFieldKind::string, "string"},
                                                                 {PluginFieldKind::shortcut, "shortcut"},
                                                                 {PluginFieldKind::boolean, "boolean"},
                                                                 {PluginFieldKind::enumChoice, "enum"},
                                                                 {PluginFieldKind::path, "path"},
                                                                 {PluginFieldKind::integer, "integer"},
                                                                 {PluginFieldKind::number, "number"}});

/// What a path field selects.
enum class PluginPathKind { application, file, directory };
template <>
inline constexpr auto kJSONNames<PluginPathKind> =
    std::to_array<std::pair<PluginPathKind, std::string_view>>({{PluginPathKind::application, "application"},
                                                                {PluginPathKind::file, "file"},
                                                                {PluginPathKind::directory, "directory"}});

/// The spelling of `value` in JSON.
template <typename Enum>
constexpr std::string_view jsonName(Enum value) {
    for (const auto& [candidate, name] : kJSONNames<Enum>)
        if (candidate == value)
            return name;
    return {};
}

/// One choice of an enumeration field.
struct PluginFieldOption {
    std::string label;
    JSONValue value;
    friend bool operator==(const PluginFieldOption&, const PluginFieldOption&) = default;
};

/// One field of a settings schema, an action or a form.
struct PluginFieldSchema {
    std::string key; ///< under which the value stands in the parameters or settings
    PluginFieldKind type = PluginFieldKind::string;
    std::string title;
    std::optional<std::string> description;
    bool required = false;
    std::optional<JSONValue> defaultValue; ///< "default" in JSON
    std::optional<std::string> placeholder;
    std::optional<std::string> helpText;
    std::optional<long long> order; ///< ascending among the fields; the manifest's order breaks ties
    std::optional<std::vector<PluginFieldOption>> options;
    std::optional<PluginPathKind> pathKind;
    std::optional<std::string> dependsOn;                ///< key of another field of the same list
    std::optional<std::vector<std::string>> visibleWhen; ///< values of that field for which this one is shown
    friend bool operator==(const PluginFieldSchema&, const PluginFieldSchema&) = default;
};

/// How the editor asks for the configuration item's own name.
struct PluginItemNameSchema {
    std::string title;
    std::optional<std::string> description;
    bool required = false;
    std::optional<std::string> placeholder;
    std::optional<std::string> helpText;
    friend bool operator==(const PluginItemNameSchema&, const PluginItemNameSchema&) = default;
};

/// An alternative form for the parameters of an action.
struct PluginActionFormSchema {
    std::string id;
    std::string title;
    std::optional<std::string> description;
    std::optional<PluginItemNameSchema> itemName;
    std::vector<PluginFieldSchema> parametersSchema;
    std::optional<std::string> mainElementKey;
    friend bool operator==(const PluginActionFormSchema&, const PluginActionFormSchema&) = default;
};

/// An action that configuration items can be bound to.
struct PluginActionDescriptor {
    std::string id;
    std::string name;
    std::string description;
    std::optional<PluginItemNameSchema> itemName;
    std::optional<std::vector<PluginActionFormSchema>> forms;
    std::vector<PluginFieldSchema> parametersSchema;
    std::optional<std::string> mainElementKey;
    /// "dynamicChoices" in JSON: the plugin answers the command word "choices" for this action, and the user
    /// picks one of the answers before it runs.
    std::optional<bool> dynamicChoices;
    friend bool operator==(const PluginActionDescriptor&, const PluginActionDescriptor&) = default;
};

/// The content of plugin.json.
struct PluginManifest {
    std::string id;
    std::string name;
    std::string version;
    std::string executable; ///< relative to the package folder
    std::vector<PluginCapability> capabilities;
    std::vector<PluginActionDescriptor> actions;
    std::optional<std::vector<PluginFieldSchema>> settingsSchema;
    std::optional<std::vector<PluginHook>> hooks;

    /// The action with that identifier (the first of several), or null.
    [[nodiscard]] const PluginActionDescriptor* findAction(std::string_view actionID) const;
    [[nodiscard]] bool wantsHook(PluginHook hook) const;
    friend bool operator==(const PluginManifest&, const PluginManifest&) = default;
};

/// Why a JSON text does not hold what was expected, and where.
struct JSONDecodingError {
    JSONPath path;       ///< empty for the whole text
    std::string message; ///< "expected a string, found a number"
    JSONPosition position;
    friend bool operator==(const JSONDecodingError&, const JSONDecodingError&) = default;
};
/// "actions[0].name: expected a string, found a number (line 4, column 19)".
std::string describe(const JSONDecodingError& error);

/// Unknown keys are ignored, null counts as absent for optional members; anything else that does not fit is
/// an error. Never throws.
std::expected<PluginManifest, JSONDecodingError> decodePluginManifest(std::string_view text);
/// Absent members are left out.
JSONValue encodePluginManifest(const PluginManifest& manifest);

/// The fields in the order in which a form shows them.
std::vector<const PluginFieldSchema*> orderedFields(const std::vector<PluginFieldSchema>& fields);
/// True when a form with these values shows the field: it depends on nothing, or the value of the field that
/// it depends on (its default where there is no value) reads as one of `visibleWhen`.
bool isFieldVisible(const PluginFieldSchema& field, const std::vector<PluginFieldSchema>& fields,
                    const JSONValue::Object& values);

} // namespace varnel
