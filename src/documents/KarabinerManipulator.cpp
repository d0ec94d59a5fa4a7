#include "documents/KarabinerManipulator.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "documents/KarabinerKeys.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

using Refused = std::unexpected<std::string>;

const JSONValue kNothing;

const JSONValue& member(const JSONValue& object, std::string_view key) {
    const JSONValue* value = object.find(key);
    return value ? *value : kNothing;
}

std::string text(const JSONValue& object, std::string_view key) {
    const std::string* value = member(object, key).string();
    return value ? *value : std::string();
}

/// The elements of an array; a value alone counts as an array of one.
std::vector<JSONValue> list(const JSONValue& value) {
    if (value.array())
        return *value.array();
    return value.isNull() ? std::vector<JSONValue>() : std::vector{value};
}

struct Modifiers {
    KeyFlags flags = 0;
    bool areOneSided = false;
};

std::expected<Modifiers, std::string> modifiersOf(const JSONValue& names) {
    Modifiers result;
    for (const JSONValue& name : list(names)) {
        const std::string word = name.string() ? *name.string() : std::string(name.kindName());
        const auto modifier = modifierForKarabinerName(word);
        if (!modifier)
            return Refused(localized("there is no modifier “%1” in Varnel", {singleLine(word, 40)}));
        result.flags |= modifierFlag(modifier->modifier);
        result.areOneSided |= modifier->isOneSided;
    }
    return result;
}

std::string quotedShell(std::string_view word) {
    std::string out = "'";
    for (const char c : word)
        c == '\'' ? out += "'\\''" : out += c;
    return out + "'";
}

ConfigAction shellAction(std::string_view command) {
    return {core::shell, "run", {{"command", command}}};
}

ConfigAction openAction(std::string_view path) {
    return {core::application, "open", {{"path", path}}};
}

/// `open` with the path of one application is an action of its own.
ConfigAction actionForShell(std::string_view command) {
    std::string_view rest = trimmed(command);
    constexpr std::string_view program = "open ", option = "-a ";
    if (rest.starts_with(program)) {
        rest = trimmed(rest.substr(program.size()));
        if (rest.starts_with(option))
            rest = trimmed(rest.substr(option.size()));
        const bool isQuoted =
            rest.size() > 2 && (rest[0] == '"' || rest[0] == '\'') && rest.back() == rest[0];
        std::string_view path = isQuoted ? rest.substr(1, rest.size() - 2) : rest;
        const std::string_view special = isQuoted ? "\"'$`\\" : " \t\"'$`\\*?&|;<>(){}[]~#!\n";
        if (path.starts_with('/') && path.ends_with(".app") &&
            path.find_first_of(special) == std::string_view::npos)
            return openAction(path);
    }
    return shellAction(command);
}

/// Reads a list of events into one effect.
class EffectReader {
public:
    std::expected<KarabinerEffect, std::string> read(const JSONValue& events) {
        for (const JSONValue& event : list(events))
            if (std::string reason = readEvent(event); !reason.empty())
                return Refused(std::move(reason));
        if (actions_ > 1)
            return Refused(localized("it does several things one after the other; an action does one"));
        if (!commands_.empty())
            effect_.action =
                commands_.size() == 1 ? actionForShell(commands_[0]) : shellAction(join(commands_, "\n"));
        return std::move(effect_);
    }

private:
    std::string readEvent(const JSONValue& event) {
        if (event.find("set_variable"))
            return readVariable(member(event, "set_variable"));
        if (const std::string* command = member(event, "shell_command").string()) {
            actions_ += commands_.empty() ? 1 : 0;
            commands_.push_back(*command);
            return {};
        }
        if (event.find("key_code"))
            return readKey(text(event, "key_code"), member(event, "modifiers"));
        if (event.find("software_function"))
            return readSoftware(member(event, "software_function"));
        if (event.find("set_notification_message"))
            return {}; // the hints tell what may follow
        const std::pair<std::string_view, std::string> reasons[] = {
            {"consumer_key_code", localized("it presses a media key")},
            {"pointing_button", localized("it presses a mouse button")},
            {"mouse_key", localized("it moves the pointer")},
            {"sticky_modifier", localized("it makes a modifier sticky")},
            {"select_input_source", localized("it selects an input source")},
        };
        for (const auto& [key, reason] : reasons)
            if (event.find(key))
                return reason;
        return localized("it does something that is not known here");
    }

    std::string readVariable(const JSONValue& assignment) {
        const std::string name = text(assignment, "name");
        if (name.empty() || assignment.find("expression"))
            return localized("it computes a variable");
        const bool isUnset = text(assignment, "type") == "unset";
        effect_.sets.emplace_back(name, isUnset ? JSONValue(0) : member(assignment, "value"));
        return {};
    }

    std::string readKey(const std::string& code, const JSONValue& modifiers) {
        if (code == "vk_none")
            return {};
        if (modifierForKarabinerName(code) || code == "fn" || code == "caps_lock")
            return localized("it presses the modifier “%1”, and a shortcut needs a key", {code});
        const auto key = keyForKarabinerCode(code);
        if (!key)
            return localized("no key is known as “%1”", {singleLine(code, 40)});
        const auto held = modifiersOf(modifiers);
        if (!held)
            return held.error();
        ++actions_;
        effect_.action =
            ConfigAction{core::shortcut, "press", {{"shortcut", KeyTokenCodec::format(*key, held->flags)}}};
        return {};
    }

    std::string readSoftware(const JSONValue& function) {
        const JSONValue& application = member(function, "open_application");
        const std::string path = text(application, "file_path");
        const std::string identifier = text(application, "bundle_identifier");
        ++actions_;
        if (!path.empty())
            effect_.action = openAction(path);
        else if (!identifier.empty())
            effect_.action = shellAction("open -b " + quotedShell(identifier));
        else
            return localized("it asks Karabiner for something that Varnel does not do");
        return {};
    }

    KarabinerEffect effect_;
    std::vector<std::string> commands_;
    int actions_ = 0;
};

class ManipulatorReader {
public:
    explicit ManipulatorReader(const JSONValue& value)
        : value_(value) {}

    std::expected<KarabinerManipulator, std::string> read() {
        using Step = std::string (ManipulatorReader::*)();
        for (const Step step :
             {&ManipulatorReader::readType, &ManipulatorReader::readConditions, &ManipulatorReader::readFrom,
              &ManipulatorReader::readEffect, &ManipulatorReader::readTimed, &ManipulatorReader::checkEffect})
            if (std::string reason = (this->*step)(); !reason.empty())
                return Refused(std::move(reason));
        return std::move(result_);
    }

private:
    std::string readType() {
        const std::string type = text(value_, "type");
        if (!value_.object() || !member(value_, "from").object())
            return localized("it is no manipulator with a “from”");
        return type.empty() || type == "basic" ? std::string()
                                               : localized("it is of the type “%1”", {singleLine(type, 40)});
    }

    std::string readConditions() {
        for (const JSONValue& condition : list(member(value_, "conditions"))) {
            const std::string type = text(condition, "type"), name = text(condition, "name");
            if (type.starts_with("frontmost_application"))
                return localized("it depends on the application in front; triggers work everywhere");
            if ((type != "variable_if" && type != "variable_unless") || name.empty())
                return localized("it has the condition “%1”", {singleLine(type, 40)});
            const JSONValue& value = member(condition, "value");
            if (isIdleValue(value) && type == "variable_unless")
                result_.requires_.push_back({name, std::nullopt});
            else if (!isIdleValue(value) && type == "variable_if")
                result_.requires_.push_back({name, value});
        }
        return {};
    }

    std::string readFrom() {
        JSONValue from = member(value_, "from");
        if (const auto keys = list(member(from, "simultaneous")); keys.size() > 1)
            return localized("keys that are pressed at the same time are no sequence");
        else if (keys.size() == 1)
            from.object()->insert_or_assign("key_code", member(keys[0], "key_code"));
        if (from.find("any"))
            return {};
        std::string code = text(from, "key_code");
        if (code.empty())
            code = text(from, "consumer_key_code");
        if (code.empty())
            return localized("only keys can be typed, no mouse buttons and no other controls");
        const JSONValue& modifiers = member(from, "modifiers");
        const auto held = modifiersOf(member(modifiers, "mandatory"));
        if (!held)
            return held.error();
        noteModifiers(*held, member(modifiers, "optional"));
        if (const auto tapped = modifierForKarabinerName(code)) {
            isTap_ = true;
            result_.step = modifierName(tapped->modifier);
            if (held->flags != 0)
                return localized("a modifier can only be tapped alone");
            noteModifiers({0, tapped->isOneSided}, {});
            return {};
        }
        const auto key = keyForKarabinerCode(code);
        if (!key)
            return localized("no key is known as “%1”", {singleLine(code, 40)});
        result_.step = KeyTokenCodec::format(*key, held->flags);
        return {};
    }

    void noteModifiers(Modifiers held, const JSONValue& optional) {
        if (held.areOneSided)
            result_.notes.push_back(localized("left and right modifiers are not told apart"));
        for (const JSONValue& name : list(optional))
            if (name.string() && *name.string() != "caps_lock" && *name.string() != "fn") {
                result_.notes.push_back(localized("with further modifiers held it ran too, now it does not"));
                return;
            }
    }

    /// A modifier acts when it is tapped, any other key when it goes down.
    std::string readEffect() {
        const JSONValue& alone = member(value_, "to_if_alone");
        const JSONValue& down = member(value_, "to");
        if (isTap_) {
            if (list(alone).empty())
                return localized("it changes what a modifier key is");
            for (const JSONValue& event : list(down)) {
                const auto kept = modifierForKarabinerName(text(event, "key_code"));
                if (!kept || modifierName(kept->modifier) != result_.step)
                    return localized("it changes what a modifier key is");
            }
        } else if (!list(alone).empty()) {
            return localized("it acts when the key is let go alone; only modifiers do so here");
        }
        auto effect = EffectReader().read(isTap_ ? alone : down);
        if (!effect)
            return effect.error();
        result_.effect = std::move(*effect);
        return {};
    }

    std::string readTimed() {
        if (!list(member(value_, "to_if_held_down")).empty())
            return localized("it acts while the key is held; triggers act when it goes down");
        const JSONValue& delayed = member(value_, "to_delayed_action");
        for (const char* part : {"to_if_invoked", "to_if_canceled"}) {
            const auto effect = EffectReader().read(member(delayed, part));
            if (!effect || effect->action || effect->opens())
                return localized("it does something after a delay");
        }
        if (delayed.object() && result_.effect.opens())
            result_.notes.push_back(localized(
                "how long it waits for the next key is the preference sequenceStepTimeoutMilliseconds"));
        const JSONValue& up = member(value_, "to_after_key_up");
        const auto after = EffectReader().read(up);
        if (!after || after->action || after->opens())
            return localized("it acts when the key is let go");
        result_.isHeldLayer = !after->sets.empty() && result_.effect.opens();
        if (result_.isHeldLayer)
            result_.notes.push_back(localized("the key is typed before the others, and not held"));
        return {};
    }

    std::string checkEffect() {
        const KarabinerEffect& effect = result_.effect;
        if (!effect.action && effect.sets.empty())
            return localized("it does nothing but take the key away");
        if (result_.step.empty() && !effect.onlyResets())
            return localized("it takes any key");
        if (effect.action && effect.opens() && !reopensOwn())
            return localized("it does something and opens a sequence at once");
        if (effect.action && effect.action->pluginID == core::shortcut)
            result_.notes.push_back(localized("holding the key does not repeat it"));
        return {};
    }

    /// An action that keeps the mode it was typed in.
    [[nodiscard]] bool reopensOwn() const {
        return std::ranges::all_of(result_.effect.sets, [&](const auto& set) {
            return isIdleValue(set.second) ||
                   std::ranges::any_of(result_.requires_, [&](const KarabinerRequirement& required) {
                       return required.variable == set.first;
                   });
        });
    }

    const JSONValue& value_;
    KarabinerManipulator result_;
    bool isTap_ = false;
};

} // namespace

bool isIdleValue(const JSONValue& value) {
    return value.isNull() || (value.number() && *value.number() == 0) ||
           (value.boolean() && !*value.boolean());
}

bool KarabinerEffect::opens() const {
    return std::ranges::any_of(sets, [](const auto& set) { return !isIdleValue(set.second); });
}

bool KarabinerEffect::onlyResets() const {
    return !action && !sets.empty() && !opens();
}

std::expected<KarabinerManipulator, std::string> understandKarabiner(const JSONValue& manipulator) {
    return ManipulatorReader(manipulator).read();
}

} // namespace varnel
