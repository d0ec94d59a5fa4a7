#include "documents/ImportBuilder.h"

#include "base/Localized.h"
#include "base/Sha256.h"
#include "base/Text.h"
#include "documents/ActionPhrase.h"
#include "documents/KeyCaps.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace varnel {
namespace {

constexpr std::size_t kLongestRule = 100, kLongestName = 60;

/// The same on each import, so that a configuration that was imported again differs only where the rules do.
Uuid identifier(const std::vector<std::string>& keys) {
    Sha256 hash;
    hash.update("imported\x1f" + join(keys, "\x1f"));
    std::string hex = hash.finishHex();
    hex[12] = '8'; // the version and variant of identifiers made by rules of one's own
    hex[16] = 'A';
    return Uuid::parse(hex.substr(0, 8) + "-" + hex.substr(8, 4) + "-" + hex.substr(12, 4) + "-" +
                       hex.substr(16, 4) + "-" + hex.substr(20, 12))
        .value_or(Uuid{});
}

std::string nameAfterAction(const ConfigItem& item) {
    const auto command = item.action->params.find("command");
    if (item.action->pluginID == core::shell && command != item.action->params.end())
        return singleLine(*command->second.string(), kLongestName);
    return actionPhrase(item);
}

ConfigItem itemFor(const ImportedRule& rule, std::vector<std::string> keys) {
    ConfigItem item;
    item.id = identifier(keys);
    item.name = rule.name;
    item.keys = std::move(keys);
    item.action = rule.action;
    item.isEnabled = rule.isEnabled;
    if (item.name.empty())
        item.name = nameAfterAction(item);
    return item;
}

ConfigItem groupFor(std::vector<std::string> keys, std::string name) {
    ConfigItem item;
    item.id = identifier(keys);
    item.name = name.empty() ? KeyCaps::triggerText(keys) : std::move(name);
    item.keys = std::move(keys);
    item.type = ItemType::group;
    return item;
}

bool isTypable(const std::string& step) {
    return KeyTokenCodec::parse(step) || modifierNamed(step);
}

ImportRemark remark(int line, std::string_view rule, std::string text) {
    return {line, singleLine(rule, kLongestRule), std::move(text)};
}

/// What is said of many rules is said once.
std::vector<ImportRemark> gathered(const std::vector<ImportRemark>& notes) {
    constexpr std::size_t few = 3;
    std::map<std::string, std::size_t> counts;
    for (const ImportRemark& note : notes)
        ++counts[note.reason];
    std::vector<ImportRemark> kept;
    for (const ImportRemark& note : notes) {
        std::size_t& count = counts[note.reason];
        if (count == 0)
            continue;
        kept.push_back(note);
        if (count > few)
            kept.back().reason = localized("%1 (and so with %2 more rules)",
                                           {note.reason, std::to_string(std::exchange(count, 0) - 1)});
    }
    return kept;
}

} // namespace

void ImportBuilder::cover(int line, std::string_view rule, std::string text) {
    ++report_.rules;
    ++report_.converted;
    note(line, rule, std::move(text));
}

void ImportBuilder::leaveOut(int line, std::string_view rule, std::string reason) {
    ++report_.rules;
    report_.omitted.push_back(remark(line, rule, std::move(reason)));
}

void ImportBuilder::note(int line, std::string_view rule, std::string text) {
    report_.notes.push_back(remark(line, rule, std::move(text)));
}

/// Why a trigger cannot be had beside those that are taken; empty when it can.
std::string ImportBuilder::objection(const Trigger& live) const {
    if (live.empty())
        return localized("it has no keys");
    for (std::size_t step = 0; step < live.size(); ++step) {
        if (!isTypable(live[step]))
            return localized("the step “%1” can't be typed", {live[step]});
        if (step > 0 && live[step] == "escape")
            return localized("Escape closes an open sequence and can't be one of its steps");
    }
    if (const auto same = taken_.find(live); same != taken_.end())
        return localized("line %1 uses the same keys", {std::to_string(same->second->line)});
    for (std::size_t count = 1; count < live.size(); ++count) {
        const Trigger start(live.begin(), live.begin() + static_cast<std::ptrdiff_t>(count));
        if (const auto hides = taken_.find(start); hides != taken_.end())
            return localized("it can't be reached: line %1 runs as soon as %2 is typed",
                             {std::to_string(hides->second->line), KeyCaps::triggerText(start)});
    }
    return {};
}

/// Short triggers first, since they hide longer ones.
void ImportBuilder::settleActions() {
    struct Wish {
        std::size_t rule;
        Trigger live;
    };
    std::vector<Wish> wishes;
    for (std::size_t i = 0; i < actions_.size(); ++i)
        for (const Trigger& trigger : actions_[i].triggers)
            wishes.push_back({i, KeyTokenCodec::liveSpelling(trigger)});
    std::stable_sort(wishes.begin(), wishes.end(), [&](const Wish& a, const Wish& b) {
        return std::pair(a.live.size(), actions_[a.rule].yields) <
               std::pair(b.live.size(), actions_[b.rule].yields);
    });
    std::vector<std::vector<Trigger>> granted(actions_.size());
    std::vector<std::vector<std::string>> objections(actions_.size());
    for (Wish& wish : wishes) {
        std::string reason = objection(wish.live);
        if (!reason.empty()) {
            objections[wish.rule].push_back(std::move(reason));
            continue;
        }
        taken_.emplace(wish.live, &actions_[wish.rule]);
        granted[wish.rule].push_back(std::move(wish.live));
    }
    for (std::size_t i = 0; i < actions_.size(); ++i)
        finish(actions_[i], granted[i], objections[i]);
}

void ImportBuilder::finish(const ImportedRule& rule, const std::vector<Trigger>& granted,
                           const std::vector<std::string>& objections) {
    if (granted.empty()) {
        leaveOut(rule.line, rule.rule, objections.empty() ? objection({}) : objections.front());
        return;
    }
    ++report_.rules;
    ++report_.converted;
    for (const Trigger& trigger : granted)
        report_.items.push_back(itemFor(rule, trigger));
    for (const auto* texts : {&rule.notes, &objections})
        for (const std::string& text : *texts)
            note(rule.line, rule.rule, text);
}

void ImportBuilder::settleGroups() {
    std::set<Trigger> beginnings;
    for (const ConfigItem& item : report_.items)
        for (std::size_t count = 1; count < item.keys.size(); ++count)
            beginnings.emplace(item.keys.begin(), item.keys.begin() + static_cast<std::ptrdiff_t>(count));
    for (const ImportedRule& rule : groups_) {
        bool isUsed = false;
        for (const Trigger& trigger : rule.triggers) {
            Trigger live = KeyTokenCodec::liveSpelling(trigger);
            if (!beginnings.contains(live))
                continue;
            isUsed = true;
            const auto place = groupItems_.emplace(live, groupFor(live, rule.name)).first;
            place->second.isEnabled = rule.isEnabled;
        }
        if (!isUsed) {
            leaveOut(rule.line, rule.rule, localized("no rule that could be converted goes on from here"));
            continue;
        }
        ++report_.rules;
        ++report_.converted;
        for (const std::string& text : rule.notes)
            note(rule.line, rule.rule, text);
    }
}

/// Only a whole group can let its first key through, so rules that share the key do so too.
void ImportBuilder::addPassthroughGroups() {
    std::map<std::string, bool> passing;
    for (const auto& [trigger, rule] : taken_)
        if (rule->passesThrough && trigger.size() > 1)
            passing[trigger.front()] = true;
    for (const auto& [trigger, rule] : taken_)
        if (passing.contains(trigger.front()) && !rule->passesThrough)
            note(rule->line, rule->rule,
                 localized("its first key acts in the application too, as another rule asks for"));
    for (const auto& [step, unused] : passing) {
        const auto place = groupItems_.emplace(Trigger{step}, groupFor({step}, {})).first;
        place->second.allowsPassthroughPrefix = true;
    }
}

ImportReport ImportBuilder::finished() {
    settleActions();
    settleGroups();
    addPassthroughGroups();
    std::vector<ConfigItem> items;
    items.reserve(groupItems_.size() + report_.items.size());
    for (auto& [trigger, item] : groupItems_)
        items.push_back(std::move(item));
    std::ranges::move(report_.items, std::back_inserter(items));
    report_.items = std::move(items);
    for (auto* remarks : {&report_.omitted, &report_.notes})
        std::ranges::stable_sort(*remarks, {}, &ImportRemark::line);
    report_.notes = gathered(report_.notes);
    return std::move(report_);
}

} // namespace varnel
