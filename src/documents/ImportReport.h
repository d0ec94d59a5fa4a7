#pragma once

#include "config/ConfigItem.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Something about one rule of an imported file.
struct ImportRemark {
    int line = 0;       ///< of the rule, counted from 1
    std::string rule;   ///< as the file calls it, on one line
    std::string reason; ///< why it was left out, or what differs now; a clause
    friend bool operator==(const ImportRemark&, const ImportRemark&) = default;
};
/// "FILE:LINE: rule: reason".
std::string describe(const ImportRemark& remark, std::string_view file);

/// What became of a file of another program. Every rule is either converted or listed as left out, never
/// both: `rules == converted + omitted.size()`.
struct ImportReport {
    std::vector<ConfigItem> items; ///< a valid configuration; identifiers depend on the rules only
    std::size_t rules = 0;
    std::size_t converted = 0;
    std::vector<ImportRemark> omitted; ///< in the order of the file
    std::vector<ImportRemark> notes;   ///< converted rules that behave a little differently
    friend bool operator==(const ImportReport&, const ImportReport&) = default;
};
/// "rules: 12, converted: 10, left out: 2".
std::string summary(const ImportReport& report);

} // namespace varnel
