#include "config/TriggerConflict.h"

#include "base/Localized.h"
#include "base/Text.h"

#include <algorithm>
#include <map>
#include <utility>

namespace varnel {
namespace {

TriggerConflict conflictWith(const ConfigItem& item) {
    return {item.id, item.name, item.keys};
}

} // namespace

std::string conflictMessage(const TriggerConflict& conflict) {
    const std::string_view name = trimmed(conflict.name);
    if (name.empty())
        return localized("This trigger already exists.");
    return localized("This trigger already exists as “%1”.", {name});
}

std::vector<std::string> normalizedTrigger(const std::vector<std::string>& keys) {
    std::vector<std::string> steps;
    steps.reserve(keys.size());
    for (const std::string& key : keys)
        steps.push_back(lowercased(trimmed(key)));
    return steps;
}

std::optional<TriggerConflict> findTriggerConflict(const std::vector<std::string>& keys,
                                                   const std::optional<Uuid>& excludingID,
                                                   const std::vector<ConfigItem>& items) {
    const std::vector<std::string> wanted = normalizedTrigger(keys);
    if (wanted.empty())
        return std::nullopt;
    for (const ConfigItem& item : items)
        if (item.id != excludingID && item.keys.size() == wanted.size() &&
            normalizedTrigger(item.keys) == wanted)
            return conflictWith(item);
    return std::nullopt;
}

std::expected<ConfigGroupTriggerRewriteResult, TriggerConflict>
rewriteGroupTrigger(const std::vector<ConfigItem>& items, const std::vector<std::string>& oldKeys,
                    const std::vector<std::string>& newKeys) {
    const std::vector<std::string> from = normalizedTrigger(oldKeys), to = normalizedTrigger(newKeys);
    ConfigGroupTriggerRewriteResult result{items, 0};
    if (from.empty() || to.empty() || from == to)
        return result;
    std::map<std::vector<std::string>, const ConfigItem*> staying;
    std::vector<std::vector<std::string>> moved;
    for (ConfigItem& item : result.items) {
        std::vector<std::string> trigger = normalizedTrigger(item.keys);
        if (trigger.size() < from.size() || !std::equal(from.begin(), from.end(), trigger.begin())) {
            staying.emplace(std::move(trigger), &item);
            continue;
        }
        const auto rest = static_cast<std::ptrdiff_t>(from.size());
        std::vector<std::string> keys = newKeys;
        keys.insert(keys.end(), item.keys.begin() + rest, item.keys.end());
        item.keys = std::move(keys);
        moved.push_back(normalizedTrigger(item.keys));
        ++result.updatedCount;
    }
    for (const auto& trigger : moved)
        if (const auto other = staying.find(trigger); other != staying.end())
            return std::unexpected(conflictWith(*other->second));
    return result;
}

} // namespace varnel
