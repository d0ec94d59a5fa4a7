#pragma once

#include "config/ConfigHierarchyBuilder.h"
#include "config/TriggerConflict.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace varnel {

/// What an editing operation works on: a node of the tree.
struct ConfigTarget {
    std::optional<Uuid> id;        ///< of the item that defines it; none: a group without item
    std::vector<std::string> keys; ///< its key path, as it stands in the tree
    friend bool operator==(const ConfigTarget&, const ConfigTarget&) = default;
};
ConfigTarget targetOf(const HierarchyNode& node);

/// Why an edit cannot be made.
struct ConfigEditError {
    enum class Kind {
        notFound,        ///< the target is not in the list (any more)
        triggerRequired, ///< no step
        triggerNeedsKey, ///< nothing but modifiers
        unknownStep,     ///< `detail` is the step
        conflict,        ///< another item has the trigger
        notAGroup,       ///< only groups have something beneath them; `detail` is the name
        insideItself,    ///< a group would move beneath itself
        noFreeKey,       ///< every key that could be proposed is taken
    };
    Kind kind = Kind::notFound;
    std::string detail;
    std::optional<TriggerConflict> conflict;
    friend bool operator==(const ConfigEditError&, const ConfigEditError&) = default;
};
/// A sentence for the user; a conflict's is `conflictMessage`.
std::string describe(const ConfigEditError& error);

/// A new list, to be saved whole.
struct ConfigEdit {
    std::vector<ConfigItem> items;
    std::string name;             ///< for the undo menu: "Rename “Mail”"
    std::size_t count = 0;        ///< items that came, went or changed; 0: there is nothing to save
    std::optional<Uuid> selected; ///< what to select afterwards
    friend bool operator==(const ConfigEdit&, const ConfigEdit&) = default;
};
using ConfigEditResult = std::expected<ConfigEdit, ConfigEditError>;

/// The operations of an editor. Pure functions: each takes the whole list and returns a new one, or the
/// reason why not. What an operation is not asked to change stays as it is and where it is, except that of
/// items with the same identifier the later ones get fresh ones. "Beneath" a group is what the tree shows
/// beneath it.
namespace ConfigEditing {

enum class Scope { item, itemAndBeneath };

/// A trigger that can be recorded: at least one step, every step typable, one of them more than modifiers.
std::optional<ConfigEditError> objectionToTrigger(const std::vector<std::string>& keys);
/// The check of the group editor while a trigger is typed, for a new group (no `groupID`) or an existing one,
/// which takes along what is beneath it. Ask `objectionToTrigger` first: a trigger that is not valid has no
/// conflicts.
std::optional<TriggerConflict> groupTriggerConflict(const std::vector<ConfigItem>& items,
                                                    const std::optional<Uuid>& groupID,
                                                    const std::vector<std::string>& newKeys);
/// What the group editor says below the trigger's field and above it while the trigger changes.
std::string groupTriggerHelp();
std::string groupTriggerHeading();

/// Puts the item at the end. An identifier that is in use, or empty, becomes a fresh one.
ConfigEditResult add(const std::vector<ConfigItem>& items, ConfigItem item);
/// Replaces the item that has `changed.id`. A group whose trigger changes takes along what is beneath it.
ConfigEditResult change(const std::vector<ConfigItem>& items, const ConfigItem& changed);
/// A group goes with everything beneath it; `count` tells how many items, so ask the user before saving.
ConfigEditResult remove(const std::vector<ConfigItem>& items, const ConfigTarget& target);
/// To the group at `groupKeys`, the top level when empty; a group takes along what is beneath it. The last
/// step stays if it is free there, else a free one is taken.
ConfigEditResult move(const std::vector<ConfigItem>& items, const ConfigTarget& target,
                      const std::vector<std::string>& groupKeys);
/// A group without item gets one.
ConfigEditResult rename(const std::vector<ConfigItem>& items, const ConfigTarget& target,
                        const std::string& name);
ConfigEditResult setEnabled(const std::vector<ConfigItem>& items, const ConfigTarget& target, bool isEnabled,
                            Scope scope);
/// Beside the original, with a free key and fresh identifiers; a group with everything beneath it.
ConfigEditResult duplicate(const std::vector<ConfigItem>& items, const ConfigTarget& target);
/// Under the selected group, else beside the selected shortcut; without a selection where the item's keys
/// say. Its last step stays if it is free there, else a free one is taken. The identifier is always fresh.
ConfigEditResult paste(const std::vector<ConfigItem>& items, ConfigItem item,
                       const std::optional<ConfigTarget>& selection);
/// Gives a group another trigger, and everything beneath it with it.
ConfigEditResult regroup(const std::vector<ConfigItem>& items, const ConfigTarget& target,
                         const std::vector<std::string>& newKeys);

} // namespace ConfigEditing
} // namespace varnel
