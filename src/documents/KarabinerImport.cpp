#include "documents/KarabinerImport.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "documents/ImportBuilder.h"
#include "documents/KarabinerManipulator.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace varnel {
namespace {

using Trigger = ImportedRule::Trigger;
constexpr std::size_t kMostTriggers = 64, kDeepest = 32;
constexpr std::size_t kLongestRule = 60;

bool beginsWith(const Trigger& trigger, const Trigger& start) {
    return trigger.size() >= start.size() && std::equal(start.begin(), start.end(), trigger.begin());
}

/// Finds the keys that lead to each manipulator: those that set the variables it asks for, then its own.
class KarabinerConverter {
public:
    explicit KarabinerConverter(std::vector<KarabinerEntry> entries)
        : entries_(std::move(entries))
        , triggers_(entries_.size()) {
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            manipulators_.push_back(understandKarabiner(entries_[i].value));
            if (manipulators_[i])
                for (const auto& [variable, value] : manipulators_[i]->effect.sets)
                    setters_[variable].push_back(i);
        }
    }

    ImportReport convert() {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            convert(i);
        return builder_.finished();
    }

private:
    void convert(std::size_t index) {
        const KarabinerEntry& entry = entries_[index];
        if (entry.value.isNull()) {
            builder_.leaveOut(entry.line, label(index), localized("it is a rule without manipulators"));
            return;
        }
        if (!manipulators_[index]) {
            builder_.leaveOut(entry.line, label(index), manipulators_[index].error());
            return;
        }
        const KarabinerManipulator& manipulator = *manipulators_[index];
        if (isBuiltIn(manipulator)) {
            builder_.cover(
                entry.line, label(index),
                localized("Varnel does so by itself: Escape, or a key that fits nothing, closes a sequence"));
            return;
        }
        ImportedRule rule{.line = entry.line,
                          .rule = label(index),
                          .name = name(index),
                          .triggers = triggersOf(index),
                          .action = manipulator.effect.action.value_or(ConfigAction{}),
                          .isEnabled = entry.isEnabled,
                          .notes = manipulator.notes};
        if (rule.triggers.empty())
            builder_.leaveOut(entry.line, label(index), whyUnreachable(manipulator, entry.isEnabled));
        else if (!manipulator.effect.action)
            builder_.group(std::move(rule));
        else {
            if (staysOpen(manipulator))
                rule.notes.push_back(localized("the sequence ends with it; in Karabiner the mode stayed on"));
            builder_.convert(std::move(rule));
        }
    }

    /// Leaving a mode, with or without handing the key on.
    static bool isBuiltIn(const KarabinerManipulator& manipulator) {
        const KarabinerEffect& effect = manipulator.effect;
        if (effect.onlyResets())
            return true;
        if (effect.sets.empty() || effect.opens() || effect.action->pluginID != core::shortcut)
            return false;
        return *effect.action->params.at("shortcut").string() == manipulator.step;
    }

    const std::vector<Trigger>& triggersOf(std::size_t index) {
        std::optional<std::vector<Trigger>>& known = triggers_[index];
        if (known)
            return *known;
        known.emplace(); // what asks for itself leads nowhere
        std::vector<Trigger> found;
        if (const auto& manipulator = manipulators_[index]) {
            for (Trigger prefix : prefixesFor(manipulator->requires_, entries_[index].isEnabled)) {
                prefix.push_back(manipulator->step);
                found.push_back(std::move(prefix));
            }
        }
        known = std::move(found);
        return *known;
    }

    /// The sequences after which all of the requirements hold.
    std::vector<Trigger> prefixesFor(const std::vector<KarabinerRequirement>& wanted, bool isEnabled) {
        if (wanted.empty())
            return {Trigger{}};
        std::vector<std::set<Trigger>> ways;
        ways.reserve(wanted.size());
        for (const KarabinerRequirement& requirement : wanted)
            ways.push_back(waysTo(requirement, isEnabled));
        std::set<Trigger> all;
        for (const std::set<Trigger>& some : ways)
            all.insert(some.begin(), some.end());
        std::vector<Trigger> prefixes;
        for (const Trigger& prefix : all) {
            const auto leadsHere = [&](const Trigger& way) { return beginsWith(prefix, way); };
            const bool fulfilsAll = std::ranges::all_of(
                ways, [&](const std::set<Trigger>& some) { return std::ranges::any_of(some, leadsHere); });
            if (fulfilsAll && prefixes.size() < kMostTriggers)
                prefixes.push_back(prefix);
        }
        return prefixes;
    }

    /// What a rule that is off leads to is off as well.
    std::set<Trigger> waysTo(const KarabinerRequirement& requirement, bool isWantedEnabled) {
        std::set<Trigger> ways;
        const auto setters = setters_.find(requirement.variable);
        if (setters == setters_.end() || depth_ == kDeepest)
            return ways;
        ++depth_;
        for (const std::size_t i : setters->second) {
            const KarabinerEffect& effect = manipulators_[i]->effect;
            const bool counts = !effect.action && (entries_[i].isEnabled || !isWantedEnabled);
            if (counts && fulfils(effect, requirement) && ways.size() < kMostTriggers) {
                const std::vector<Trigger>& own = triggersOf(i);
                ways.insert(own.begin(), own.end());
            }
        }
        --depth_;
        return ways;
    }

    static bool fulfils(const KarabinerEffect& effect, const KarabinerRequirement& requirement) {
        return std::ranges::any_of(effect.sets, [&](const auto& set) {
            return set.first == requirement.variable &&
                   (requirement.value ? set.second == *requirement.value : !isIdleValue(set.second));
        });
    }

    std::string whyUnreachable(const KarabinerManipulator& manipulator, bool isEnabled) {
        for (const KarabinerRequirement& requirement : manipulator.requires_)
            if (waysTo(requirement, isEnabled).empty())
                return localized("no rule that could be converted sets the variable “%1” for it",
                                 {singleLine(requirement.variable, kLongestRule)});
        return localized("no sequence sets all the variables that it asks for");
    }

    /// Nothing ends the mode that it was typed in.
    bool staysOpen(const KarabinerManipulator& manipulator) {
        return std::ranges::any_of(manipulator.requires_, [&](const KarabinerRequirement& requirement) {
            const bool resets = std::ranges::any_of(manipulator.effect.sets, [&](const auto& set) {
                return set.first == requirement.variable && isIdleValue(set.second);
            });
            const auto setters = setters_.find(requirement.variable);
            return !resets && setters != setters_.end() &&
                   std::ranges::none_of(setters->second, [&](std::size_t i) {
                       return manipulators_[i]->isHeldLayer && fulfils(manipulators_[i]->effect, requirement);
                   });
        });
    }

    std::string label(std::size_t index) const {
        const JSONValue* own = entries_[index].value.find("description");
        const bool hasOwn = own && own->string() && !trimmed(*own->string()).empty();
        std::string text =
            singleLine(hasOwn ? *own->string() : entries_[index].ruleDescription, kLongestRule);
        if (text.empty())
            text = localized("a rule without description");
        const bool isUnderstood = manipulators_[index].has_value();
        const std::string step = isUnderstood ? manipulators_[index]->step : std::string();
        return step.empty() || hasOwn ? text : text + " (" + step + ")";
    }

    /// The rule's description names what is alone in it, or the first sequence that it opens.
    std::string name(std::size_t index) const {
        const KarabinerEntry& entry = entries_[index];
        const JSONValue* own = entry.value.find("description");
        if (own && own->string() && !trimmed(*own->string()).empty())
            return std::string(trimmed(*own->string()));
        const bool isFirstGroup = isGroup(index) && !isGroupBefore(index);
        return entry.isAloneInRule || isFirstGroup ? std::string(trimmed(entry.ruleDescription))
                                                   : std::string();
    }

    bool isGroup(std::size_t index) const {
        const auto& manipulator = manipulators_[index];
        return manipulator && !manipulator->effect.action && manipulator->effect.opens();
    }

    /// Whether the rule of a manipulator opens a sequence before it; its manipulators stand together.
    bool isGroupBefore(std::size_t index) const {
        for (std::size_t i = index; i > 0 && entries_[i - 1].rule == entries_[index].rule; --i)
            if (isGroup(i - 1))
                return true;
        return false;
    }

    std::vector<KarabinerEntry> entries_;
    std::vector<std::expected<KarabinerManipulator, std::string>> manipulators_;
    std::vector<std::optional<std::vector<Trigger>>> triggers_;
    std::map<std::string, std::vector<std::size_t>> setters_; ///< by variable
    std::size_t depth_ = 0;
    ImportBuilder builder_;
};

} // namespace

std::expected<ImportReport, JSONError> importKarabiner(std::string_view text) {
    auto entries = readKarabiner(text);
    if (!entries)
        return std::unexpected(entries.error());
    return KarabinerConverter(std::move(*entries)).convert();
}

} // namespace varnel
