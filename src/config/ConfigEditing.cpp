#include "config/ConfigEditing.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigPlacement.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace varnel {

using Kind = ConfigEditError::Kind;
using Items = std::vector<ConfigItem>;
using Keys = std::vector<std::string>;

ConfigTarget targetOf(const HierarchyNode& node) {
    return {node.item ? std::optional(node.item->id) : std::nullopt,
            node.item ? node.item->keys : node.fullKeys};
}

std::string describe(const ConfigEditError& error) {
    switch (error.kind) {
    case Kind::notFound:
        return localized("The group or shortcut is not there any more.");
    case Kind::triggerRequired:
        return localized("Trigger is required.");
    case Kind::triggerNeedsKey:
        return localized("Trigger must include a non-modifier key.");
    case Kind::unknownStep:
        return localized("A step cannot be typed: %1", {KeyTokenCodec::explain(error.detail)});
    case Kind::conflict:
        return error.conflict ? conflictMessage(*error.conflict) : localized("This trigger already exists.");
    case Kind::notAGroup:
        return localized("“%1” is no group: nothing can lie beneath it.", {error.detail});
    case Kind::insideItself:
        return localized("A group cannot be moved into itself.");
    case Kind::noFreeKey:
        return localized("No key is free there. Choose one yourself, or another group.");
    }
    return {};
}

namespace ConfigEditing {
namespace {

std::unexpected<ConfigEditError> refusal(Kind kind, std::string detail = {}) {
    return std::unexpected(ConfigEditError{kind, std::move(detail), std::nullopt});
}

std::unexpected<ConfigEditError> refusal(TriggerConflict conflict) {
    return std::unexpected(ConfigEditError{Kind::conflict, {}, std::move(conflict)});
}

/// The item's name, or its keys where that is blank.
std::string shownName(std::string_view name, const Keys& keys) {
    const std::string_view own = trimmed(name);
    return own.empty() ? join(keys, " ") : std::string(own);
}
std::string shownName(const ConfigItem& item) {
    return shownName(item.name, item.keys);
}

bool isAtOrBeneath(const Keys& keys, const Keys& group) {
    return keys.size() >= group.size() && std::equal(group.begin(), group.end(), keys.begin());
}
bool isBeneath(const Keys& keys, const Keys& group) {
    return keys.size() > group.size() && isAtOrBeneath(keys, group);
}

/// The target's place in the list. Of items with the same identifier the one with the target's keys.
Items::const_iterator find(const Items& items, const ConfigTarget& target) {
    if (!target.id)
        return items.end();
    const auto both = std::ranges::find_if(
        items, [&](const ConfigItem& item) { return item.id == *target.id && item.keys == target.keys; });
    return both != items.end() ? both : std::ranges::find(items, *target.id, &ConfigItem::id);
}

/// The target's item, its keys and whether things lie beneath it, for operations on groups and shortcuts.
struct Found {
    Items::const_iterator item; ///< the end: a group without item
    Keys keys;
    std::string name;
    bool isGroup = true;
};
std::expected<Found, ConfigEditError> locate(const Items& items, const ConfigTarget& target) {
    const auto item = find(items, target);
    if (item != items.end())
        return Found{item, item->keys, shownName(*item), item->type == ItemType::group};
    const bool isThere =
        !target.id && !target.keys.empty() &&
        std::ranges::any_of(items, [&](const auto& each) { return isBeneath(each.keys, target.keys); });
    if (!isThere)
        return refusal(Kind::notFound);
    return Found{item, target.keys, target.keys.back(), true};
}

/// Whether the operation on `found` takes this item along.
bool belongs(const Found& found, Items::const_iterator item) {
    return item == found.item || (found.isGroup && isBeneath(item->keys, found.keys));
}

void makeIdentifiersUnique(Items& items) {
    std::set<Uuid> seen;
    for (ConfigItem& item : items)
        while (!seen.insert(item.id).second)
            item.id = Uuid::random();
}

ConfigEdit finished(Items items, std::string name, std::size_t count, std::optional<Uuid> selected) {
    makeIdentifiersUnique(items);
    return {std::move(items), std::move(name), count, selected};
}

ConfigEdit unchanged(const Items& items, std::string name, std::optional<Uuid> selected) {
    return {items, std::move(name), 0, selected};
}

std::optional<Uuid> identifierOf(const Items& items, const Found& found) {
    return found.item == items.end() ? std::nullopt : std::optional(found.item->id);
}

/// A place beneath an action would never be reached.
std::expected<void, ConfigEditError> checkGroup(const Items& items, const Keys& groupKeys) {
    const auto action = std::ranges::find_if(items, [&](const ConfigItem& item) {
        return item.type == ItemType::action && !groupKeys.empty() && item.keys == groupKeys;
    });
    if (action != items.end())
        return refusal(Kind::notAGroup, shownName(*action));
    return {};
}

/// Gives a group with everything beneath it other keys; the caller has found them valid.
std::expected<ConfigGroupTriggerRewriteResult, ConfigEditError> rewritten(const Items& items,
                                                                          const Keys& from, const Keys& to) {
    if (normalizedTrigger(from) != normalizedTrigger(to)) {
        auto result = rewriteGroupTrigger(items, from, to);
        if (!result)
            return refusal(std::move(result.error()));
        return std::move(*result);
    }
    // Only the spelling differs: what is beneath the group stays beneath it.
    ConfigGroupTriggerRewriteResult result{items, 0};
    for (ConfigItem& item : result.items) {
        if (from == to || !isAtOrBeneath(item.keys, from))
            continue;
        std::ranges::copy(to, item.keys.begin());
        ++result.updatedCount;
    }
    return result;
}

/// Copies of `originals` with fresh identifiers and the first steps `from` replaced by `to`, put behind the
/// last original.
Items withCopies(const Items& items, const std::vector<Items::const_iterator>& originals, const Keys& from,
                 const Keys& to) {
    Items copies;
    for (const auto original : originals) {
        ConfigItem copy = *original;
        copy.id = Uuid::random();
        copy.keys = to;
        copy.keys.insert(copy.keys.end(), original->keys.begin() + static_cast<std::ptrdiff_t>(from.size()),
                         original->keys.end());
        copies.push_back(std::move(copy));
    }
    Items result(items.begin(), originals.back() + 1);
    std::ranges::move(copies, std::back_inserter(result));
    result.insert(result.end(), originals.back() + 1, items.end());
    return result;
}

} // namespace

std::optional<ConfigEditError> objectionToTrigger(const Keys& keys) {
    if (keys.empty() || std::ranges::all_of(keys, [](const auto& key) { return trimmed(key).empty(); }))
        return ConfigEditError{Kind::triggerRequired, {}, std::nullopt};
    bool hasKey = false;
    for (const std::string& key : keys) {
        if (KeyTokenCodec::isModifierOnly(key))
            continue;
        if (!KeyTokenCodec::parse(key))
            return ConfigEditError{Kind::unknownStep, key, std::nullopt};
        hasKey = true;
    }
    if (!hasKey)
        return ConfigEditError{Kind::triggerNeedsKey, {}, std::nullopt};
    return std::nullopt;
}

std::optional<TriggerConflict> groupTriggerConflict(const Items& items, const std::optional<Uuid>& groupID,
                                                    const Keys& newKeys) {
    const auto group = groupID ? std::ranges::find(items, *groupID, &ConfigItem::id) : items.end();
    if (group == items.end() || normalizedTrigger(group->keys) == normalizedTrigger(newKeys))
        return findTriggerConflict(newKeys, groupID, items);
    auto result = rewriteGroupTrigger(items, group->keys, newKeys);
    return result ? std::nullopt : std::optional(std::move(result.error()));
}

std::string groupTriggerHelp() {
    return localized(
        "Add a single shortcut like ctrl-j, or a sequence like cmd -> g -> g. Changing this rewrites "
        "every shortcut under the group.");
}

std::string groupTriggerHeading() {
    return localized("Editing group trigger");
}

ConfigEditResult add(const Items& items, ConfigItem item) {
    if (auto objection = objectionToTrigger(item.keys))
        return std::unexpected(std::move(*objection));
    if (auto conflict = findTriggerConflict(item.keys, std::nullopt, items))
        return refusal(std::move(*conflict));
    if (item.id == Uuid{} || std::ranges::find(items, item.id, &ConfigItem::id) != items.end())
        item.id = Uuid::random();
    const Uuid id = item.id;
    std::string name = localized("Add “%1”", {shownName(item)});
    Items result = items;
    result.push_back(std::move(item));
    return finished(std::move(result), std::move(name), 1, id);
}

ConfigEditResult change(const Items& items, const ConfigItem& changed) {
    const auto old = find(items, {changed.id, changed.keys});
    if (old == items.end())
        return refusal(Kind::notFound);
    const std::string name = localized("Change “%1”", {shownName(changed)});
    if (*old == changed)
        return unchanged(items, name, changed.id);
    const auto place = old - items.begin();
    ConfigGroupTriggerRewriteResult result{items, 0};
    if (old->keys != changed.keys) {
        if (auto objection = objectionToTrigger(changed.keys))
            return std::unexpected(std::move(*objection));
        if (old->type == ItemType::group) {
            auto moved = rewritten(items, old->keys, changed.keys);
            if (!moved)
                return std::unexpected(std::move(moved.error()));
            result = std::move(*moved);
        }
        if (auto conflict = findTriggerConflict(changed.keys, changed.id, result.items))
            return refusal(std::move(*conflict));
    }
    result.items[static_cast<std::size_t>(place)] = changed;
    return finished(std::move(result.items), name, std::max<std::size_t>(result.updatedCount, 1), changed.id);
}

ConfigEditResult remove(const Items& items, const ConfigTarget& target) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    Items rest;
    rest.reserve(items.size());
    for (auto item = items.begin(); item != items.end(); ++item)
        if (!belongs(*found, item))
            rest.push_back(*item);
    const std::size_t count = items.size() - rest.size();
    return finished(std::move(rest), localized("Delete “%1”", {found->name}), count, std::nullopt);
}

ConfigEditResult move(const Items& items, const ConfigTarget& target, const Keys& groupKeys) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    if (auto group = checkGroup(items, groupKeys); !group)
        return std::unexpected(std::move(group.error()));
    std::string name = localized("Move “%1”", {found->name});
    const auto selected = identifierOf(items, *found);
    if (!found->keys.empty() && ConfigPlacement::parentOf(found->keys) == groupKeys)
        return unchanged(items, std::move(name), selected);
    if (found->isGroup && isAtOrBeneath(normalizedTrigger(groupKeys), normalizedTrigger(found->keys)))
        return refusal(Kind::insideItself);
    const auto keys = ConfigPlacement::freeKeys(items, groupKeys,
                                                found->keys.empty() ? "" : found->keys.back(), found->name);
    if (!keys)
        return refusal(Kind::noFreeKey);
    if (found->isGroup && !found->keys.empty()) {
        auto moved = rewritten(items, found->keys, *keys);
        if (!moved)
            return std::unexpected(std::move(moved.error()));
        return finished(std::move(moved->items), std::move(name), moved->updatedCount, selected);
    }
    Items result = items;
    result[static_cast<std::size_t>(found->item - items.begin())].keys = *keys;
    return finished(std::move(result), std::move(name), 1, selected);
}

ConfigEditResult rename(const Items& items, const ConfigTarget& target, const std::string& name) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    std::string step = localized("Rename “%1”", {found->name});
    Items result = items;
    if (found->item == items.end()) {
        ConfigItem group;
        group.id = Uuid::random();
        group.name = name;
        group.keys = found->keys;
        group.type = ItemType::group;
        result.push_back(group);
        return finished(std::move(result), std::move(step), 1, group.id);
    }
    const Uuid id = found->item->id;
    if (found->item->name == name)
        return unchanged(items, std::move(step), id);
    result[static_cast<std::size_t>(found->item - items.begin())].name = name;
    return finished(std::move(result), std::move(step), 1, id);
}

ConfigEditResult setEnabled(const Items& items, const ConfigTarget& target, bool isEnabled, Scope scope) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    Items result = items;
    std::size_t count = 0;
    for (auto item = items.begin(); item != items.end(); ++item) {
        const bool isMeant = scope == Scope::item ? item == found->item : belongs(*found, item);
        if (!isMeant || item->isEnabled == isEnabled)
            continue;
        result[static_cast<std::size_t>(item - items.begin())].isEnabled = isEnabled;
        ++count;
    }
    std::string name =
        isEnabled ? localized("Enable “%1”", {found->name}) : localized("Disable “%1”", {found->name});
    if (count == 0)
        return unchanged(items, std::move(name), identifierOf(items, *found));
    return finished(std::move(result), std::move(name), count, identifierOf(items, *found));
}

ConfigEditResult duplicate(const Items& items, const ConfigTarget& target) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    const auto keys = ConfigPlacement::freeKeys(items, ConfigPlacement::parentOf(found->keys),
                                                found->keys.empty() ? "" : found->keys.back(), found->name);
    if (!keys)
        return refusal(Kind::noFreeKey);
    std::vector<Items::const_iterator> originals;
    for (auto item = items.begin(); item != items.end(); ++item)
        if (belongs(*found, item))
            originals.push_back(item);
    Items result = withCopies(items, originals, found->keys, *keys);
    const auto copy = std::ranges::find(result, *keys, &ConfigItem::keys);
    const auto selected = copy == result.end() ? std::nullopt : std::optional(copy->id);
    return finished(std::move(result), localized("Duplicate “%1”", {found->name}), originals.size(),
                    selected);
}

ConfigEditResult paste(const Items& items, ConfigItem item, const std::optional<ConfigTarget>& selection) {
    const std::string last = item.keys.empty() ? std::string() : item.keys.back();
    const Keys group =
        selection ? ConfigPlacement::receivingGroup(items, *selection) : ConfigPlacement::parentOf(item.keys);
    if (auto valid = checkGroup(items, group); !valid)
        return std::unexpected(std::move(valid.error()));
    auto keys = ConfigPlacement::freeKeys(items, group, last, item.name);
    if (!keys)
        return refusal(Kind::noFreeKey);
    item.id = Uuid::random();
    item.keys = std::move(*keys);
    const Uuid id = item.id;
    std::string name = localized("Paste “%1”", {shownName(item)});
    Items result = items;
    const auto beside = selection ? find(items, *selection) : items.end();
    const auto place =
        beside == items.end() ? items.size() : static_cast<std::size_t>(beside - items.begin()) + 1;
    result.insert(result.begin() + static_cast<std::ptrdiff_t>(place), std::move(item));
    return finished(std::move(result), std::move(name), 1, id);
}

ConfigEditResult regroup(const Items& items, const ConfigTarget& target, const Keys& newKeys) {
    const auto found = locate(items, target);
    if (!found)
        return std::unexpected(found.error());
    if (!found->isGroup)
        return refusal(Kind::notAGroup, found->name);
    if (auto objection = objectionToTrigger(newKeys))
        return std::unexpected(std::move(*objection));
    std::string name = localized("Change the Trigger of “%1”", {found->name});
    auto result = rewritten(items, found->keys, newKeys);
    if (!result)
        return std::unexpected(std::move(result.error()));
    return finished(std::move(result->items), std::move(name), result->updatedCount,
                    identifierOf(items, *found));
}

} // namespace ConfigEditing
} // namespace varnel
