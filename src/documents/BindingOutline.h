#pragma once

#include "config/ConfigItem.h"

#include <cstddef>
#include <string>
#include <vector>

namespace varnel {

/// One binding of a cheat sheet.
struct BindingRow {
    std::vector<std::string> steps; ///< those beyond the section's trigger
    std::string name;               ///< as the user calls it, else what it does
    std::string phrase;             ///< what it does; empty where the name says just that
    bool isEnabled = true;
    friend bool operator==(const BindingRow&, const BindingRow&) = default;
};

/// A group with the bindings right beneath it. Sections stand in the order of the tree, a group before the
/// groups inside it.
struct BindingSection {
    std::vector<std::string> trigger; ///< empty for the bindings that no group holds
    std::string name;                 ///< on one line; empty for a group that no item names
    int depth = 0;                    ///< 0 for groups at the top
    bool isEnabled = true;
    bool passesThrough = false; ///< its first key acts in the application too
    std::vector<BindingRow> rows;
    friend bool operator==(const BindingSection&, const BindingSection&) = default;
};

/// What starts with one and the same step.
struct FirstStep {
    std::string step;      ///< live spelling
    std::string name;      ///< of the action or group, else empty
    bool opens = false;    ///< more steps follow
    std::size_t count = 0; ///< enabled bindings that begin with it
    friend bool operator==(const FirstStep&, const FirstStep&) = default;
};

/// A configuration in the order in which a page shows it. Names are as stored: control characters and line
/// breaks are gone, everything else is the formats' to escape.
struct BindingOutline {
    std::vector<BindingSection> sections; ///< those with rows, and their parents
    std::vector<FirstStep> firstSteps;    ///< of enabled bindings, in the order of the sections
    std::size_t bindings = 0;             ///< all actions with keys
    friend bool operator==(const BindingOutline&, const BindingOutline&) = default;
};

BindingOutline outlineBindings(const std::vector<ConfigItem>& items);

} // namespace varnel
