#include "documents/ConfigSchema.h"

#include "base/JSONWriter.h"
#include "base/Localized.h"
#include "commands/WindowManagerOperations.h"
#include "config/ConfigItem.h"
#include "keyboard/notation/KeyTable.h"

#include <initializer_list>
#include <utility>

namespace varnel {
namespace {

using Object = JSONValue::Object;
using Array = JSONValue::Array;

Object with(Object schema, std::string_view key, JSONValue value) {
    schema.insert_or_assign(std::string(key), std::move(value));
    return schema;
}

Object described(Object schema, std::string description) {
    return with(std::move(schema), "description", std::move(description));
}

Object reference(std::string_view definition) {
    return {{"$ref", "#/$defs/" + std::string(definition)}};
}

Object typed(std::string_view type) {
    return {{"type", type}};
}

/// For members that may be absent: null counts as absent.
Object optional(std::string_view type) {
    return {{"type", Array{type, "null"}}};
}

Array texts(std::initializer_list<std::string_view> values) {
    return Array(values.begin(), values.end());
}

Object constants(std::initializer_list<std::pair<std::string_view, std::string_view>> members) {
    Object properties;
    for (const auto& [key, value] : members)
        properties.emplace(key, Object{{"const", value}});
    return properties;
}

/// A pattern for a word in any case.
std::string inAnyCase(std::string_view word) {
    std::string pattern;
    for (const char c : word) {
        if (c < 'a' || c > 'z')
            pattern += c;
        else
            ((pattern += '[') += static_cast<char>(c - 'a' + 'A')) += {c, ']'};
    }
    return pattern;
}

std::string eachInAnyCase(const std::vector<std::string_view>& words) {
    std::string pattern;
    for (const std::string_view word : words)
        pattern += (pattern.empty() ? "" : "|") + inAnyCase(word);
    return "(?:" + pattern + ")";
}

/// Everything that the notation reads: modifiers in any order around one key, or one modifier alone. The
/// plain names stand apart so that editors can offer them.
Object stepSchema() {
    std::vector<std::string_view> keys, modifiers;
    Array offered;
    for (const NamedKey& key : keyTable()) {
        keys.push_back(key.name);
        offered.emplace_back(key.name);
    }
    for (const Modifier modifier : kModifiers) {
        modifiers.push_back(modifierName(modifier));
        offered.emplace_back(modifierName(modifier));
    }
    // A number of at most 65535, with any number of zeros before it.
    const std::string number =
        "0*(?:[0-9]{1,4}|[1-5][0-9]{4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-5])";
    const std::string modifier = eachInAnyCase(modifiers);
    const std::string key = "(?:" + eachInAnyCase(keys) + "|" + inAnyCase("keycode") + number + ")";
    const std::string chord = "(?:" + modifier + "\\+)*" + key + "(?:\\+" + modifier + ")*";
    return described({{"type", "string"},
                      {"anyOf", Array{Object{{"enum", offered}},
                                      Object{{"pattern", "^\\s*(?:" + chord + "|" + modifier + ")\\s*$"}}}},
                      {"examples", texts({"ctrl+j", "cmd+shift+k", "cmd", "g", "keycode10"})}},
                     localized("One step: cmd, ctrl, alt, shift and one key, joined by \"+\", or a modifier "
                               "alone for a tap of it. Letters name positions of the US layout."));
}

Object shortcutSchema() {
    Object schema = stepSchema();
    schema.erase("anyOf");
    schema.insert_or_assign("examples", texts({"ctrl+c", "cmd+shift+4"}));
    return described(std::move(schema),
                     localized("The shortcut that is sent: modifiers and one key, joined by \"+\"."));
}

/// The parameters of a known action, offered and checked once its identifiers are there.
Object parameters(std::string_view pluginID, std::string_view actionID, Object properties, Array required) {
    Object params{{"properties", std::move(properties)}, {"required", required}};
    Object then{{"properties", Object{{"params", std::move(params)}}}};
    if (!required.empty())
        then.emplace("required", texts({"params"}));
    return {{"if", Object{{"properties", constants({{"pluginID", pluginID}, {"actionID", actionID}})},
                          {"required", texts({"pluginID", "actionID"})}}},
            {"then", std::move(then)}};
}

Array operationNames() {
    Array names;
    for (const WindowManagerOperation& operation : windowManagerOperations())
        names.emplace_back(operation.id);
    return names;
}

Array knownParameters() {
    const Object path =
        described(with(typed("string"), "examples",
                       texts({"/Applications/Safari.app", "/usr/share/applications/firefox.desktop"})),
                  localized("An application bundle; on Linux also a desktop file or a program."));
    const Object command = described(with(typed("string"), "examples", texts({"xterm -e vi ~/notes.txt"})),
                                     localized("The command, for the shell."));
    const Object inTerminal =
        described(optional("boolean"), localized("Whether it runs in a terminal's window."));
    const Object operation =
        described({{"type", "string"}, {"examples", operationNames()}},
                  localized("What the window manager does; `varnel operations` explains each."));
    return {parameters(core::application, "open", {{"path", path}}, texts({"path"})),
            parameters(core::shortcut, "press", {{"shortcut", shortcutSchema()}}, texts({"shortcut"})),
            parameters(core::shell, "run",
                       {{"command", command},
                        {"openInTerminal", inTerminal},
                        {"terminalApplication", optional("string")}},
                       texts({"command"})),
            parameters(core::window, "arrange", {{"arrangement", typed("string")}}, texts({"arrangement"})),
            parameters(core::aerospace, "run", {{"operation", operation}}, {})};
}

Object currentAction() {
    const Object plugin = described({{"type", "string"},
                                     {"examples", texts({core::application, core::shell, core::shortcut,
                                                         core::window, core::aerospace, core::runningApps})}},
                                    localized("The capability that performs the action."));
    const Object action =
        described({{"type", "string"}, {"examples", texts({"open", "run", "press", "arrange", "activate"})}},
                  localized("The action within that capability."));
    return {{"title", localized("Action")},
            {"type", "object"},
            {"required", texts({"pluginID", "actionID"})},
            {"properties",
             Object{{"pluginID", plugin},
                    {"actionID", action},
                    {"params", described(optional("object"), localized("The action's parameters."))}}},
            {"allOf", knownParameters()}};
}

/// What files of earlier versions hold; it is read whenever the two identifiers are not both there.
Object olderAction() {
    const auto bothIdentifiers =
        Object{{"properties", Object{{"pluginID", typed("string")}, {"actionID", typed("string")}}},
               {"required", texts({"pluginID", "actionID"})}};
    Object properties{
        {"type",
         Object{{"enum", texts({"application", "shellCommand", "windowArrangement", "keyboardShortcut"})}}},
        {"openInTerminal", optional("boolean")},
        {"pluginID", optional("string")}};
    for (const char* key : {"path", "command", "terminalApplication", "shortcut"})
        properties.emplace(key, optional("string"));
    return {{"title", localized("Action of an earlier version")},
            {"description", localized("Still read, and replaced on saving.")},
            {"type", "object"},
            {"not", bothIdentifiers},
            {"required", texts({"type"})},
            {"properties", std::move(properties)}};
}

Object itemSchema() {
    const Object identifier = described(
        with(optional("string"), "pattern", "^[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}$"),
        localized("A UUID; one is made up where it is missing."));
    const Object keys =
        described({{"type", "array"},
                   {"items", reference("step")},
                   {"examples", Array{texts({"ctrl+j", "w", "g"}), texts({"cmd", "g", "g"})}}},
                  localized("The whole sequence from the top, one step an element."));
    Object properties{
        {"id", identifier},
        {"name", described(typed("string"), localized("What the hints and the editor show."))},
        {"keys", keys},
        {"type", described({{"enum", texts({"group", "action"})}},
                           localized("A group names a prefix; an action runs something."))},
        {"action", described({{"anyOf", Array{typed("null"), reference("action"), reference("olderAction")}}},
                             localized("What runs. Groups have none."))},
        {"isEnabled",
         described(with(optional("boolean"), "default", true), localized("Whether the item takes part."))},
        {"allowsPassthroughPrefix",
         Object{{"description", localized("Groups only: the first key acts in the application too.")}}}};
    const Object group{{"properties", Object{{"type", Object{{"const", "group"}}}}}};
    return {{"type", "object"},
            {"required", texts({"name", "keys", "type"})},
            {"properties", std::move(properties)},
            {"if", group},
            {"then", Object{{"properties", Object{{"allowsPassthroughPrefix", optional("boolean")}}}}}};
}

Object documentForm() {
    const Object settings = described({{"type", "object"}, {"additionalProperties", typed("object")}},
                                      localized("What capabilities keep, by their identifiers."));
    return {{"title", localized("Configuration")},
            {"type", "object"},
            {"required", texts({"items", "pluginSettings"})},
            {"properties", Object{{"items", reference("items")}, {"pluginSettings", settings}}}};
}

} // namespace

std::string configSchema() {
    const Object definitions{{"step", stepSchema()},
                             {"action", currentAction()},
                             {"olderAction", olderAction()},
                             {"item", itemSchema()},
                             {"items", Object{{"type", "array"}, {"items", reference("item")}}},
                             {"document", documentForm()}};
    const Object schema{
        {"$schema", "https://json-schema.org/draft/2020-12/schema"},
        {"title", localized("Varnel configuration")},
        {"description", localized("Key sequences and what they run. The file is an object with items and "
                                  "plugin settings; files of the oldest form are a list of items.")},
        {"if", typed("array")},
        {"then", reference("items")},
        {"else", reference("document")},
        {"$defs", definitions}};
    return writePrettyJSON(schema) + "\n";
}

} // namespace varnel
