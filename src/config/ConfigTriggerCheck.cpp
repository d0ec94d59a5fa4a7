#include "base/Text.h"
#include "config/ConfigFindings.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <set>
#include <unordered_map>

namespace varnel {
namespace {

constexpr std::string_view kStepSeparator = "\x1f";
constexpr KeyCode kCapsLockCode = 57, kFunctionCode = 63;

/// Why no keyboard can produce this step, with the remedy; empty when one can.
std::string whyNotTypable(const std::string& step) {
    if (trimmed(step).empty())
        return "it is empty. Remove it.";
    if (KeyTokenCodec::isModifierOnly(step)) {
        if (modifierNamed(KeyTokenCodec::liveSpelling(step)))
            return {};
        return "bare modifiers are tapped one at a time. Add a key to it or make each modifier a step.";
    }
    const auto parsed = KeyTokenCodec::parse(step);
    if (!parsed)
        return KeyTokenCodec::explain(step) + ". Correct it.";
    if (const auto modifier = modifierForKeyCode(parsed->keyCode))
        return "it is a modifier key, which is written \"" + std::string(modifierName(*modifier)) + "\".";
    if (parsed->keyCode == kCapsLockCode || parsed->keyCode == kFunctionCode)
        return "this key is never seen as a key of its own. Use another one.";
    return {};
}

std::string shown(const std::vector<std::string>& keys) {
    return quoteForMessage(join(keys, " "));
}

/// The triggers of a configuration as the keyboard produces them.
class TriggerCheck {
public:
    TriggerCheck(const CheckedConfig& config, ConfigFindings& findings)
        : config_(config)
        , findings_(findings) {}

    void run() {
        live_.reserve(config_.document.items.size());
        for (std::size_t index = 0; index < config_.document.items.size(); ++index) {
            live_.push_back(KeyTokenCodec::liveSpelling(config_.item(index).keys));
            checkSteps(index);
            checkEqual(index);
            notePassthrough(index);
        }
        for (std::size_t index = 0; index < config_.document.items.size(); ++index)
            checkReachable(index);
    }

private:
    void checkSteps(std::size_t index) {
        const std::vector<std::string>& keys = config_.item(index).keys;
        if (keys.empty())
            findings_.addForItem("empty-keys", index, {"keys"},
                                 "has no keys, so it can never be typed. Give it a trigger or remove it.");
        for (std::size_t step = 0; step < keys.size(); ++step) {
            const std::string reason = whyNotTypable(keys[step]);
            if (!reason.empty())
                findings_.addForItemAt("untypable-trigger", index, stepPath(index, step),
                                       "can't be typed: step " + std::to_string(step + 1) + ", " +
                                           quoteForMessage(keys[step]) + ": " + reason);
            else if (step > 0 && live_[index][step] == "escape")
                findings_.addForItemAt(
                    "unreachable-trigger", index, stepPath(index, step),
                    "can't be reached: \"escape\" closes an open sequence. Use another key for step " +
                        std::to_string(step + 1) + ".");
        }
    }

    void checkEqual(std::size_t index) {
        const ConfigItem& item = config_.item(index);
        if (item.keys.empty())
            return;
        const std::string whole = join(live_[index], kStepSeparator);
        if (item.type == ItemType::action && item.isEnabled)
            completing_.emplace(whole, index);
        const auto [known, isNew] = first_.emplace(whole, index);
        if (isNew)
            return;
        const ConfigItem& other = config_.item(known->second);
        std::string message = "has the trigger " + shown(item.keys);
        if (item.keys != other.keys)
            message += ", typed like " + shown(other.keys) + ",";
        message += " of " + config_.mention(known->second) + "; " + consequence(item, other) +
                   " Change or remove one of them.";
        findings_.addForItem("equal-trigger", index, {"keys"}, message);
    }

    static const char* consequence(const ConfigItem& item, const ConfigItem& other) {
        if (item.type != other.type)
            return "the action runs and the group never opens.";
        return item.type == ItemType::action ? "only the first enabled one runs." : "they are one group.";
    }

    void notePassthrough(std::size_t index) {
        const ConfigItem& item = config_.item(index);
        const std::vector<std::string>& steps = live_[index];
        if (!item.isEnabled || steps.empty() || !item.allowsPassthroughPrefix.value_or(false))
            return;
        Passthrough& passthrough =
            passthroughs_.try_emplace(steps[0], Passthrough{index, false, {}}).first->second;
        if (steps.size() == 1)
            passthrough.allowsAny = true;
        else
            passthrough.second.insert(steps[1]);
    }

    void checkReachable(std::size_t index) {
        const ConfigItem& item = config_.item(index);
        if (!item.isEnabled || item.type != ItemType::action)
            return;
        if (!isHidden(index))
            checkPassthrough(index);
    }

    /// Whether a shorter trigger runs first, which is reported.
    bool isHidden(std::size_t index) {
        std::string prefix;
        for (std::size_t count = 1; count < live_[index].size(); ++count) {
            prefix += count > 1 ? kStepSeparator : "";
            prefix += live_[index][count - 1];
            const auto earlier = completing_.find(prefix);
            if (earlier == completing_.end())
                continue;
            findings_.addForItem(
                "unreachable-trigger", index, {"keys"},
                "can't be reached: " + config_.mention(earlier->second) + " runs as soon as its trigger " +
                    shown(config_.item(earlier->second).keys) + " is typed. Change one of the two triggers.");
            return true;
        }
        return false;
    }

    void checkPassthrough(std::size_t index) {
        const std::vector<std::string>& steps = live_[index];
        const auto found = steps.size() < 2 ? passthroughs_.end() : passthroughs_.find(steps[0]);
        if (found == passthroughs_.end() || found->second.allowsAny ||
            found->second.second.contains(steps[1]))
            return;
        const std::size_t group = found->second.group;
        findings_.addForItem(
            "unreachable-trigger", index, {"keys"},
            "can't be reached: the key " + quoteForMessage(steps[0]) + " passes through for " +
                config_.mention(group) + ", and only " + shown({live_[group][0], live_[group][1]}) +
                " goes on from there. Change the trigger, or let the key pass for a group of "
                "its own.");
    }

    [[nodiscard]] JSONPath stepPath(std::size_t index, std::size_t step) const {
        JSONPath path = config_.memberPath(index, {"keys"});
        path.emplace_back(step);
        return path;
    }

    /// How a sequence may go on whose first key passes to the application.
    struct Passthrough {
        std::size_t group; ///< the first one that asks for it
        bool allowsAny;
        std::set<std::string> second;
    };

    const CheckedConfig& config_;
    ConfigFindings& findings_;
    std::vector<std::vector<std::string>> live_;
    std::unordered_map<std::string, std::size_t> first_;        ///< trigger to the first item with it
    std::unordered_map<std::string, std::size_t> completing_;   ///< to the action that it runs
    std::unordered_map<std::string, Passthrough> passthroughs_; ///< by first step
};

} // namespace

void checkTriggers(const CheckedConfig& config, ConfigFindings& findings) {
    TriggerCheck(config, findings).run();
}

} // namespace varnel
