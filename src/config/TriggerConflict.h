#pragma once

#include "config/ConfigItem.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// An item that has a trigger already. Pure values and functions; steps compare trimmed and in lower case.
struct TriggerConflict {
    Uuid itemID;
    std::string name;
    std::vector<std::string> keys; ///< as stored
    friend bool operator==(const TriggerConflict&, const TriggerConflict&) = default;
};
/// "This trigger already exists as “name”."
std::string conflictMessage(const TriggerConflict& conflict);

std::vector<std::string> normalizedTrigger(const std::vector<std::string>& keys);

/// The first item, in file order, with exactly this trigger; groups and actions, enabled or not, all count. A
/// trigger that is a prefix of another is no conflict, nor is one without steps.
std::optional<TriggerConflict> findTriggerConflict(const std::vector<std::string>& keys,
                                                   const std::optional<Uuid>& excludingID,
                                                   const std::vector<ConfigItem>& items);

struct ConfigGroupTriggerRewriteResult {
    std::vector<ConfigItem> items;
    std::size_t updatedCount = 0;
    friend bool operator==(const ConfigGroupTriggerRewriteResult&,
                           const ConfigGroupTriggerRewriteResult&) = default;
};

/// Moves the group at `oldKeys` and everything beneath it to `newKeys`, which is stored as given. When a
/// moved item would get the trigger of one that stays, that one is the conflict and nothing is changed.
std::expected<ConfigGroupTriggerRewriteResult, TriggerConflict>
rewriteGroupTrigger(const std::vector<ConfigItem>& items, const std::vector<std::string>& oldKeys,
                    const std::vector<std::string>& newKeys);

} // namespace varnel
