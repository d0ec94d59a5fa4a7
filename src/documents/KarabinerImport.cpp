#include "documents/KarabinerImport.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "documents/ImportBuilder.h"
#include "documents/KarabinerManipulator.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace varnel {
namespace {

using Trigger = ImportedRule::Trigger;
constexpr std::size_t kMostTriggers = 64;
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
        for (const KarabinerEntry& entry : entries_)
            manipulators_.push_back(understandKarabiner(entry.value));
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
            builder_.leaveOut(entry.line, label(index), whyUnreachable(manipulator));
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
            for (Trigger prefix : prefixesFor(manipulator->requires_)) {
                prefix.push_back(manipulator->step);
                found.push_back(std::move(prefix));
            }
        }
        known = std::move(found);
        return *known;
    }

    /// The sequences after which all of the requirements hold.
    std::vector<Trigger> prefixesFor(const std::vector<KarabinerRequirement>& wanted) {
        if (wanted.empty())
            return {Trigger{}};
        std::vector<std::set<Trigger>> ways;
        for (const KarabinerRequirement& requirement : wanted)
            ways.push_back(waysTo(requirement));
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

    std::set<Trigger> waysTo(const KarabinerRequirement& requirement) {
        std::set<Trigger> ways;
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (manipulators_[i] && !manipulators_[i]->effect.action &&
                fulfils(manipulators_[i]->effect, requirement) && entries_[i].isEnabled) {
                const std::vector<Trigger>& own = triggersOf(i);
                ways.insert(own.begin(), own.end());
            }
        return ways;
    }

    static bool fulfils(const KarabinerEffect& effect, const KarabinerRequirement& requirement) {
        return std::ranges::any_of(effect.sets, [&](const auto& set) {
            return set.first == requirement.variable &&
                   (requirement.value ? set.second == *requirement.value : !isIdleValue(set.second));
        });
    }

    std::string whyUnreachable(const KarabinerManipulator& manipulator) {
        for (const KarabinerRequirement& requirement : manipulator.requires_)
            if (waysTo(requirement).empty())
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
            return !resets && std::ranges::none_of(manipulators_, [&](const auto& other) {
                return other && other->isHeldLayer && fulfils(other->effect, requirement);
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

    /// The rule's description names what is alone in it; of several each is named after what it does.
    std::string name(std::size_t index) const {
        const KarabinerEntry& entry = entries_[index];
        const JSONValue* own = entry.value.find("description");
        if (own && own->string() && !trimmed(*own->string()).empty())
            return std::string(trimmed(*own->string()));
        const bool isOnlyGroup =
            isGroup(index) &&
            !std::ranges::any_of(others(index), [&](std::size_t other) { return isGroup(other); });
        return entry.isAloneInRule || isOnlyGroup ? std::string(trimmed(entry.ruleDescription))
                                                  : std::string();
    }

    bool isGroup(std::size_t index) const {
        const auto& manipulator = manipulators_[index];
        return manipulator && !manipulator->effect.action && manipulator->effect.opens();
    }

    /// The other manipulators of the same rule; they stand together.
    std::vector<std::size_t> others(std::size_t index) const {
        std::vector<std::size_t> found;
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (i != index && entries_[i].rule == entries_[index].rule)
                found.push_back(i);
        return found;
    }

    std::vector<KarabinerEntry> entries_;
    std::vector<std::expected<KarabinerManipulator, std::string>> manipulators_;
    std::vector<std::optional<std::vector<Trigger>>> triggers_;
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
