#pragma once

#include "config/ConfigCheck.h"

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A file that was checked, with what was found in it.
struct CheckedFile {
    std::string path; ///< as the user named it; "-" is standard input
    std::vector<Diagnostic> findings;
};

/// The findings for people: one a line, or that there are none.
std::string textReport(const std::vector<CheckedFile>& files);
/// One array of all findings: `{"severity","code","message","path","line","column","itemID"}`.
std::string jsonReport(const std::vector<CheckedFile>& files);
/// A SARIF 2.1.0 log for code scanning. `version` is the program's.
std::string sarifReport(const std::vector<CheckedFile>& files, std::string_view version);

/// All rules, a line each with the explanation below; or as a JSON array.
std::string ruleList();
std::string ruleListJSON();
/// One rule in full.
std::string ruleText(const ConfigRule& rule);

} // namespace varnel
