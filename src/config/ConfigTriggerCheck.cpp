#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigFindings.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <set>
#include <unordered_map>
#include <unordered_set>

namespace varnel {
namespace {

constexpr std::string_view kStepSeparator = "\x1f";
constexpr KeyCode kCapsLockCode = 57, kFunctionCode = 63;

/// Why no keyboard can produce this step, with the remedy; empty when one can.
std::string whyNotTypable(const std::string& step) {
    if (trimmed(step).empty())
        return localized("it is empty. Remove it.");
    if (KeyTokenCodec::isModifierOnly(step)) {
        if (modifierNamed(KeyTokenCodec::liveSpelling(step)))
            return {};
        return localized(
            "bare modifiers are tapped one at a time. Add a key to it or make each modifier a step.");
    }
    const auto parsed = KeyTokenCodec::parse(step);
    if (!parsed)
        return localized("%1. Correct it.", {KeyTokenCodec::explain(step)});
    if (const auto modifier = modifierForKeyCode(parsed->keyCode))
        return localized("it is a modifier key, which is written \"%1\".", {modifierName(*modifier)});
    if (parsed->keyCode == kCapsLockCode || parsed->keyCode == kFunctionCode)
        return localized("this key is never seen as a key of its own. Use another one.");
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
            std::vector<std::string>& live = live_.emplace_back();
            for (const std::string& step : config_.item(index).keys)
                live.push_back(facts(step).live);
            checkSteps(index);
            checkEqual(index);
            notePassthrough(index);
            noteGroups(index);
        }
        for (std::size_t index = 0; index < config_.document.items.size(); ++index) {
            checkReachable(index);
            checkGroup(index);
        }
    }

private:
    void checkSteps(std::size_t index) {
        const std::vector<std::string>& keys = config_.item(index).keys;
        if (keys.empty())
            findings_.addForItem(RuleID::emptyKeys, index, {"keys"},
                                 localized("%1 has no keys, so it can never be typed. Give it a trigger or "
                                           "remove it.",
                                           {config_.mention(index)}));
        for (std::size_t step = 0; step < keys.size(); ++step)
            checkStep(index, step);
    }

    struct StepFacts {
        std::string live, canonical, whyNotTypable;
    };
    /// Configurations have few different steps.
    const StepFacts& facts(const std::string& step) {
        const auto [known, isNew] = facts_.try_emplace(step);
        if (isNew)
            known->second = {KeyTokenCodec::liveSpelling(step), canonicalStep(step), whyNotTypable(step)};
        return known->second;
    }

    void checkStep(std::size_t index, std::size_t step) {
        const std::string& token = config_.item(index).keys[step];
        const std::string number = std::to_string(step + 1);
        const StepFacts& known = facts(token);
        if (!known.whyNotTypable.empty())
            findings_.addForItemAt(
                RuleID::untypableTrigger, index, stepPath(index, step),
                localized("%1 can't be typed: step %2, %3: %4",
                          {config_.mention(index), number, quoteForMessage(token), known.whyNotTypable}));
        else if (step > 0 && live_[index][step] == "escape")
            findings_.addForItemAt(RuleID::unreachableTrigger, index, stepPath(index, step),
                                   localized("%1 can't be reached: \"escape\" closes an open sequence. Use "
                                             "another key for step %2.",
                                             {config_.mention(index), number}));
        else if (known.canonical != token)
            findings_.addForItemAt(RuleID::spelling, index, stepPath(index, step),
                                   localized("%1 has the step %2, which is canonically spelled %3.",
                                             {config_.mention(index), quoteForMessage(token),
                                              quoteForMessage(known.canonical)}));
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
        const std::string mine = config_.mention(index), theirs = config_.mention(known->second);
        const std::string message =
            item.keys == other.keys
                ? localized("%1 has the trigger %2, also bound by %3; %4 Change or remove one of them.",
                            {mine, shown(item.keys), theirs, consequence(item, other)})
                : localized("%1 has the trigger %2, typed like %3, also bound by %4; %5 Change or remove one "
                            "of them.",
                            {mine, shown(item.keys), shown(other.keys), theirs, consequence(item, other)});
        findings_.addForItem(RuleID::equalTrigger, index, {"keys"}, message);
        findings_.relate(known->second, "keys", localized("also bound by %1", {theirs}));
    }

    static std::string consequence(const ConfigItem& item, const ConfigItem& other) {
        if (item.type != other.type)
            return localized("the action runs and the group never opens.");
        return item.type == ItemType::action ? localized("only the first enabled one runs.")
                                             : localized("they are one group.");
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
            const std::size_t other = earlier->second;
            findings_.addForItem(
                RuleID::unreachableTrigger, index, {"keys"},
                localized(
                    "%1 can't be reached: %2 runs as soon as its trigger %3 is typed. Change one of the "
                    "two triggers.",
                    {config_.mention(index), config_.mention(other), shown(config_.item(other).keys)}));
            findings_.relate(other, "keys", localized("%1 runs first", {config_.mention(other)}));
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
            RuleID::unreachableTrigger, index, {"keys"},
            localized(
                "%1 can't be reached: the key %2 passes through for %3, and only %4 goes on from there. "
                "Change the trigger, or let the key pass for a group of its own.",
                {config_.mention(index), quoteForMessage(steps[0]), config_.mention(group),
                 shown({live_[group][0], live_[group][1]})}));
        findings_.relate(group, "keys", localized("%1 lets the key pass", {config_.mention(group)}));
    }

    void noteGroups(std::size_t index) {
        std::string prefix;
        const std::vector<std::string>& steps = live_[index];
        for (std::size_t count = 1; count < steps.size(); ++count) {
            prefix += count > 1 ? kStepSeparator : "";
            prefix += steps[count - 1];
            prefixes_.insert(prefix);
        }
    }

    void checkGroup(std::size_t index) {
        const ConfigItem& item = config_.item(index);
        if (item.type != ItemType::group || !item.isEnabled || item.keys.empty() ||
            prefixes_.contains(join(live_[index], kStepSeparator)))
            return;
        findings_.addForItem(RuleID::emptyGroup, index, {"keys"},
                             localized("%1 is a group with nothing beneath it. Add an item whose keys begin "
                                       "with %2, or remove the group.",
                                       {config_.mention(index), shown(item.keys)}));
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
    std::unordered_map<std::string, StepFacts> facts_;
    std::vector<std::vector<std::string>> live_;
    std::unordered_map<std::string, std::size_t> first_;        ///< trigger to the first item with it
    std::unordered_map<std::string, std::size_t> completing_;   ///< to the action that it runs
    std::unordered_set<std::string> prefixes_;                  ///< what some item lies beneath
    std::unordered_map<std::string, Passthrough> passthroughs_; ///< by first step
};

} // namespace

std::string canonicalStep(const std::string& step) {
    if (KeyTokenCodec::isModifierOnly(step)) {
        const std::string live = KeyTokenCodec::liveSpelling(step);
        return modifierNamed(live) ? live : step;
    }
    return KeyTokenCodec::normalize(step).value_or(step);
}

void checkTriggers(const CheckedConfig& config, ConfigFindings& findings) {
    TriggerCheck(config, findings).run();
}

} // namespace varnel
