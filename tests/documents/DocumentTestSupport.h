#pragma once

#include "base/Text.h"
#include "config/ConfigItem.h"
#include "documents/ImportReport.h"

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace varnel::test {

inline ConfigItem group(std::string name, std::vector<std::string> keys) {
    ConfigItem item;
    item.name = std::move(name);
    item.keys = std::move(keys);
    item.type = ItemType::group;
    return item;
}

inline ConfigItem shell(std::string name, std::vector<std::string> keys, std::string command = "true") {
    ConfigItem item = group(std::move(name), std::move(keys));
    item.type = ItemType::action;
    item.action = ConfigAction{core::shell, "run", {{"command", std::move(command)}}};
    return item;
}

/// One line for each item: "ctrl+j g = what it runs".
inline std::vector<std::string> lines(const std::vector<ConfigItem>& items) {
    std::vector<std::string> result;
    for (const ConfigItem& item : items) {
        std::string what = "group " + item.name;
        if (item.action)
            what = *item.action->params.begin()->second.string();
        if (item.allowsPassthroughPrefix.value_or(false))
            what += " (passes)";
        result.push_back(join(item.keys, " ") + " = " + what + (item.isEnabled ? "" : " (off)"));
    }
    return result;
}

/// One line for each remark: "3: why".
inline std::vector<std::string> lines(const std::vector<ImportRemark>& remarks) {
    std::vector<std::string> result;
    for (const ImportRemark& remark : remarks)
        result.push_back(std::to_string(remark.line) + ": " + remark.reason);
    return result;
}

inline std::string importExample(const std::string& name) {
    std::ifstream in(std::string(VARNEL_TEST_DATA) + "/import/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

} // namespace varnel::test
