#include "cli/CheckReport.h"

#include "base/Localized.h"
#include "cli/JSONLine.h"

#include <algorithm>

namespace varnel {

namespace {

std::string jsonLine(const Diagnostic& diagnostic) {
    JSONLine line;
    line.text("severity", severityName(diagnostic.severity))
        .text("code", diagnostic.code)
        .text("message", diagnostic.message)
        .text("path", diagnostic.path)
        .number("line", diagnostic.position.line)
        .number("column", diagnostic.position.column);
    diagnostic.itemID.empty() ? line.null("itemID") : line.text("itemID", diagnostic.itemID);
    return line.finished();
}

std::string array(const std::vector<std::string>& lines) {
    std::string text = "[";
    for (const std::string& line : lines)
        text += (text.size() > 1 ? ",\n" : "\n") + line;
    return text + (lines.empty() ? "]" : "\n]");
}

std::string title(const ConfigRule& rule) {
    return std::string(rule.code) + " (" + std::string(severityName(rule.severity)) +
           (rule.isFixable ? ", " + localized("mended by --fix") : "") + ")";
}

} // namespace

std::string textReport(const std::vector<CheckedFile>& files) {
    std::string text;
    for (const CheckedFile& file : files)
        for (const Diagnostic& diagnostic : file.findings)
            text += describe(diagnostic, file.path) + "\n";
    if (text.empty())
        for (const CheckedFile& file : files)
            text += localized("%1: no problems", {file.path}) + "\n";
    return text;
}

std::string jsonReport(const std::vector<CheckedFile>& files) {
    std::vector<std::string> lines;
    for (const CheckedFile& file : files)
        std::ranges::transform(file.findings, std::back_inserter(lines), jsonLine);
    return array(lines) + "\n";
}

std::string ruleText(const ConfigRule& rule) {
    return title(rule) + "\n    " + rule.explanation() + "\n    " + rule.remedy() + "\n";
}

std::string ruleList() {
    std::string text;
    for (const ConfigRule& rule : configRules())
        text += title(rule) + "\n    " + rule.explanation() + "\n";
    return text;
}

std::string ruleListJSON() {
    std::vector<std::string> lines;
    for (const ConfigRule& rule : configRules())
        lines.push_back(JSONLine()
                            .text("code", rule.code)
                            .text("severity", severityName(rule.severity))
                            .boolean("isFixable", rule.isFixable)
                            .text("explanation", rule.explanation())
                            .text("remedy", rule.remedy())
                            .finished());
    return array(lines) + "\n";
}

} // namespace varnel
