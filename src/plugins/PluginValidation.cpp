#include "plugins/PluginValidation.h"

#include "base/FileSystem.h"
#include "base/Localized.h"
#include "base/Text.h"

#include <unistd.h>

#include <algorithm>
#include <set>

namespace varnel {

namespace {

bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

/// True when no two elements have the same `member`.
template <typename T>
bool areDistinct(const std::vector<T>& values, std::string T::*member) {
    std::set<std::string_view> seen;
    return std::ranges::all_of(values, [&](const T& value) { return seen.insert(value.*member).second; });
}

/// Collects the messages of one manifest.
class Validation {
public:
    std::vector<std::string> messages;

    void say(std::string text) { messages.push_back(std::move(text)); }

    void check(const PluginActionDescriptor& action) {
        if (isBlank(action.name))
            say(localized("Action '%1' must have a name.", {action.id}));
        if (action.itemName && isBlank(action.itemName->title))
            say(localized("Action '%1' has an empty item name title.", {action.id}));
        if (action.forms && !areDistinct(*action.forms, &PluginActionFormSchema::id))
            say(localized("Action '%1' has duplicate forms.", {action.id}));
        if (action.forms)
            for (const PluginActionFormSchema& form : *action.forms)
                check(form, action.id);
        checkMainElement(localized("Action '%1'", {action.id}), action.mainElementKey,
                         action.parametersSchema);
        if (!areDistinct(action.parametersSchema, &PluginFieldSchema::key))
            say(localized("Fields in action '%1' must have unique keys.", {action.id}));
    }

private:
    void check(const PluginActionFormSchema& form, const std::string& actionID) {
        if (isBlank(form.title))
            say(localized("Action form '%1' must have a name.", {actionID}));
        checkMainElement(localized("Form '%1' in action '%2'", {form.id, actionID}), form.mainElementKey,
                         form.parametersSchema);
        if (!areDistinct(form.parametersSchema, &PluginFieldSchema::key))
            say(localized("Fields in form '%1' for action '%2' must have unique keys.", {form.id, actionID}));
    }

    void checkMainElement(const std::string& owner, const std::optional<std::string>& key,
                          const std::vector<PluginFieldSchema>& fields) {
        if (!key)
            return;
        std::string_view wanted = trimmed(*key);
        if (wanted.empty())
            say(localized("%1 has an empty mainElementKey.", {owner}));
        else if (std::ranges::find(fields, wanted, &PluginFieldSchema::key) == fields.end())
            say(localized("%1 references a missing mainElementKey.", {owner}));
    }
};

} // namespace

std::string pluginExecutablePath(std::string_view packageFolder, std::string_view executable) {
    if (executable.starts_with('/'))
        return standardizedPath(executable);
    return standardizedPath(appendPath(packageFolder, executable));
}

std::vector<std::string> validatePluginManifest(const PluginManifest& manifest,
                                                std::string_view packageFolder,
                                                std::string_view executablePath, const PathExists& exists) {
    Validation validation;
    if (isBlank(manifest.id))
        validation.say(localized("The manifest must include a non-empty ID."));
    if (isBlank(manifest.name))
        validation.say(localized("The manifest must include a capability name."));
    if (isBlank(manifest.executable))
        validation.say(localized("The manifest must specify an executable."));
    if (!exists(std::string(executablePath)))
        validation.say(localized("The executable does not exist."));
    if (!executablePath.starts_with(standardizedPath(packageFolder) + "/"))
        validation.say(localized("The executable must be inside the capability package."));
    if (!areDistinct(manifest.actions, &PluginActionDescriptor::id))
        validation.say(localized("Action IDs must be unique."));
    for (const PluginActionDescriptor& action : manifest.actions)
        validation.check(action);
    return std::move(validation.messages);
}

std::vector<std::string> validatePluginManifest(const PluginManifest& manifest,
                                                std::string_view packageFolder,
                                                std::string_view executablePath) {
    return validatePluginManifest(manifest, packageFolder, executablePath,
                                  [](const std::string& path) { return ::access(path.c_str(), F_OK) == 0; });
}

} // namespace varnel
