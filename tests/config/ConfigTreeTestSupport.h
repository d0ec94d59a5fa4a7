#pragma once

#include "base/Text.h"
#include "config/ConfigItem.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace varnel::test {

/// "ctrl+j w" as steps.
inline std::vector<std::string> steps(std::string_view keys) {
    std::vector<std::string> list;
    if (!keys.empty())
        for (const std::string_view step : split(keys, ' '))
            list.emplace_back(step);
    return list;
}

inline ConfigItem item(std::string name, std::string_view keys) {
    ConfigItem made;
    made.id = Uuid::random();
    made.name = std::move(name);
    made.keys = steps(keys);
    return made;
}

inline ConfigItem group(std::string name, std::string_view keys) {
    ConfigItem made = item(std::move(name), keys);
    made.type = ItemType::group;
    return made;
}

/// The items of `after` that `before` doesn't have just so, in order.
inline std::vector<ConfigItem> difference(const std::vector<ConfigItem>& before,
                                          const std::vector<ConfigItem>& after) {
    std::vector<ConfigItem> list;
    for (const ConfigItem& each : after)
        if (std::ranges::find(before, each) == before.end())
            list.push_back(each);
    return list;
}

inline std::set<Uuid> identifiers(const std::vector<ConfigItem>& items) {
    std::set<Uuid> set;
    for (const ConfigItem& each : items)
        set.insert(each.id);
    return set;
}

} // namespace varnel::test
