#pragma once

#include "config/ConfigEditing.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Where new items go and which key they get. Pure functions.
namespace ConfigPlacement {

/// The key path without its last step.
std::vector<std::string> parentOf(const std::vector<std::string>& keys);

/// The group that receives what is pasted: the selected one, else the one that holds the selected shortcut.
std::vector<std::string> receivingGroup(const std::vector<ConfigItem>& items, const ConfigTarget& selection);

/// `groupKeys` and one step more that nothing uses yet: `wanted` if it is free and makes a good trigger, else
/// the first free one of the letters of `name`, the other letters, the digits and the letters with shift. At
/// the top level, where a bare letter would be taken from every application, with ctrl and alt. None when all
/// are taken.
std::optional<std::vector<std::string>> freeKeys(const std::vector<ConfigItem>& items,
                                                 const std::vector<std::string>& groupKeys,
                                                 std::string_view wanted, std::string_view name);

} // namespace ConfigPlacement
} // namespace varnel
