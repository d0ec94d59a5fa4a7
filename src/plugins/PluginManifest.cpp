#include "plugins/PluginManifest.h"

#include "base/JSONWriter.h"
#include "plugins/JSONNode.h"

#include <algorithm>

namespace varnel {

namespace {

PluginFieldOption decodeOption(const JSONNode& node) {
    return {.label = node["label"].text(), .value = node["value"].any()};
}

PluginFieldSchema decodeField(const JSONNode& node) {
    PluginFieldSchema field;
    field.key = node["key"].text();
    field.type = node["type"].oneOf<PluginFieldKind>();
    field.title = node["title"].text();
    field.description = node["description"].optionalText();
    field.required = node["required"].boolean();
    field.defaultValue = node["default"].optionally([](const JSONNode& value) { return value.any(); });
    field.placeholder = node["placeholder"].optionalText();
    field.helpText = node["helpText"].optionalText();
    field.order = node["order"].optionally([](const JSONNode& order) { return order.integer(); });
    field.options = node["options"].optionally(
        [](const JSONNode& options) { return options.list("options", decodeOption); });
    field.pathKind =
        node["pathKind"].optionally([](const JSONNode& kind) { return kind.oneOf<PluginPathKind>(); });
    field.dependsOn = node["dependsOn"].optionalText();
    field.visibleWhen = node["visibleWhen"].optionally([](const JSONNode& values) { return values.texts(); });
    return field;
}

std::vector<PluginFieldSchema> decodeFields(const JSONNode& node) {
    return node.list("fields", decodeField);
}

PluginItemNameSchema decodeItemName(const JSONNode& node) {
    PluginItemNameSchema name;
    name.title = node["title"].text();
    name.description = node["description"].optionalText();
    name.required = node["required"].boolean();
    name.placeholder = node["placeholder"].optionalText();
    name.helpText = node["helpText"].optionalText();
    return name;
}

PluginActionFormSchema decodeForm(const JSONNode& node) {
    PluginActionFormSchema form;
    form.id = node["id"].text();
    form.title = node["title"].text();
    form.description = node["description"].optionalText();
    form.itemName = node["itemName"].optionally(decodeItemName);
    form.parametersSchema = node["parametersSchema"].optionally(decodeFields).value_or(form.parametersSchema);
    form.mainElementKey = node["mainElementKey"].optionalText();
    return form;
}

PluginActionDescriptor decodeAction(const JSONNode& node) {
    PluginActionDescriptor action;
    action.id = node["id"].text();
    action.name = node["name"].text();
    action.description = node["description"].text();
    action.itemName = node["itemName"].optionally(decodeItemName);
    action.forms =
        node["forms"].optionally([](const JSONNode& forms) { return forms.list("forms", decodeForm); });
    action.parametersSchema =
        node["parametersSchema"].optionally(decodeFields).value_or(action.parametersSchema);
    action.mainElementKey = node["mainElementKey"].optionalText();
    action.dynamicChoices =
        node["dynamicChoices"].optionally([](const JSONNode& offers) { return offers.boolean(); });
    return action;
}

PluginManifest decodeManifest(const JSONNode& node) {
    PluginManifest manifest;
    manifest.id = node["id"].text();
    manifest.name = node["name"].text();
    manifest.version = node["version"].text();
    manifest.executable = node["executable"].text();
    manifest.capabilities = node["capabilities"].list(
        "capabilities", [](const JSONNode& capability) { return capability.oneOf<PluginCapability>(); });
    manifest.actions = node["actions"].list("actions", decodeAction);
    manifest.settingsSchema = node["settingsSchema"].optionally(decodeFields);
    manifest.hooks = node["hooks"].optionally([](const JSONNode& hooks) {
        return hooks.list("hooks", [](const JSONNode& hook) { return hook.oneOf<PluginHook>(); });
    });
    return manifest;
}

JSONValue encode(const std::string& text) {
    return text;
}
JSONValue encode(bool value) {
    return value;
}
JSONValue encode(long long value) {
    return static_cast<double>(value);
}
JSONValue encode(const JSONValue& value) {
    return value;
}
template <typename Enum>
requires std::is_enum_v<Enum> JSONValue encode(Enum value) {
    return jsonName(value);
}
JSONValue encode(const PluginFieldOption& option);
JSONValue encode(const PluginFieldSchema& field);
JSONValue encode(const PluginItemNameSchema& name);
JSONValue encode(const PluginActionFormSchema& form);
JSONValue encode(const PluginActionDescriptor& action);
template <typename T>
JSONValue encode(const std::vector<T>& values) {
    JSONValue::Array array;
    array.reserve(values.size());
    for (const T& value : values)
        array.push_back(encode(value));
    return array;
}

/// An object that grows member by member; absent optional members are left out.
struct Members {
    JSONValue::Object members;
    template <typename T>
    Members& set(const char* key, const T& value) {
        members[key] = encode(value);
        return *this;
    }
    template <typename T>
    Members& set(const char* key, const std::optional<T>& value) {
        return value ? set(key, *value) : *this;
    }
};

JSONValue encode(const PluginFieldOption& option) {
    return Members().set("label", option.label).set("value", option.value).members;
}

JSONValue encode(const PluginFieldSchema& field) {
    return Members()
        .set("key", field.key)
        .set("type", field.type)
        .set("title", field.title)
        .set("description", field.description)
        .set("required", field.required)
        .set("default", field.defaultValue)
        .set("placeholder", field.placeholder)
        .set("helpText", field.helpText)
        .set("order", field.order)
        .set("options", field.options)
        .set("pathKind", field.pathKind)
        .set("dependsOn", field.dependsOn)
        .set("visibleWhen", field.visibleWhen)
        .members;
}

JSONValue encode(const PluginItemNameSchema& name) {
    return Members()
        .set("title", name.title)
        .set("description", name.description)
        .set("required", name.required)
        .set("placeholder", name.placeholder)
        .set("helpText", name.helpText)
        .members;
}

JSONValue encode(const PluginActionFormSchema& form) {
    return Members()
        .set("id", form.id)
        .set("title", form.title)
        .set("description", form.description)
        .set("itemName", form.itemName)
        .set("parametersSchema", form.parametersSchema)
        .set("mainElementKey", form.mainElementKey)
        .members;
}

JSONValue encode(const PluginActionDescriptor& action) {
    return Members()
        .set("id", action.id)
        .set("name", action.name)
        .set("description", action.description)
        .set("itemName", action.itemName)
        .set("forms", action.forms)
        .set("parametersSchema", action.parametersSchema)
        .set("mainElementKey", action.mainElementKey)
        .set("dynamicChoices", action.dynamicChoices)
        .members;
}

/// A value as `visibleWhen` spells it.
std::string spelled(const JSONValue& value) {
    const std::string* text = value.string();
    return text ? *text : writeCompactJSON(value);
}

} // namespace

const PluginActionDescriptor* PluginManifest::findAction(std::string_view actionID) const {
    auto it = std::ranges::find(actions, actionID, &PluginActionDescriptor::id);
    return it == actions.end() ? nullptr : &*it;
}

bool PluginManifest::wantsHook(PluginHook hook) const {
    return hooks && std::ranges::find(*hooks, hook) != hooks->end();
}

std::expected<PluginManifest, JSONDecodingError> decodePluginManifest(std::string_view text) {
    return decodeJSON(text, decodeManifest);
}

JSONValue encodePluginManifest(const PluginManifest& manifest) {
    return Members()
        .set("id", manifest.id)
        .set("name", manifest.name)
        .set("version", manifest.version)
        .set("executable", manifest.executable)
        .set("capabilities", manifest.capabilities)
        .set("actions", manifest.actions)
        .set("settingsSchema", manifest.settingsSchema)
        .set("hooks", manifest.hooks)
        .members;
}

std::vector<const PluginFieldSchema*> orderedFields(const std::vector<PluginFieldSchema>& fields) {
    std::vector<const PluginFieldSchema*> ordered;
    ordered.reserve(fields.size());
    for (const PluginFieldSchema& field : fields)
        ordered.push_back(&field);
    // Fields without a place of their own follow those that have one.
    std::ranges::stable_sort(ordered, {}, [](const PluginFieldSchema* field) {
        return std::pair(!field->order.has_value(), field->order.value_or(0));
    });
    return ordered;
}

bool isFieldVisible(const PluginFieldSchema& field, const std::vector<PluginFieldSchema>& fields,
                    const JSONValue::Object& values) {
    if (!field.dependsOn || !field.visibleWhen)
        return true;
    const JSONValue* value = nullptr;
    auto other = std::ranges::find(fields, *field.dependsOn, &PluginFieldSchema::key);
    if (other != fields.end() && other->defaultValue)
        value = &*other->defaultValue;
    if (auto given = values.find(*field.dependsOn); given != values.end())
        value = &given->second;
    return value && std::ranges::find(*field.visibleWhen, spelled(*value)) != field.visibleWhen->end();
}

} // namespace varnel
