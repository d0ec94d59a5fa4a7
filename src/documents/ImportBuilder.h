#pragma once

#include "documents/ImportReport.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace varnel {

/// A rule of another program, as far as it says what is typed and what runs.
struct ImportedRule {
    using Trigger = std::vector<std::string>;

    int line = 0;
    std::string rule; ///< as the file calls it
    std::string name; ///< for the item; where it is empty the item is named after what it does
    std::vector<Trigger> triggers;
    ConfigAction action; ///< unused for groups
    bool isEnabled = true;
    bool passesThrough = false; ///< the first key is to act in the application too
    bool yields = false;        ///< another rule for the same trigger is the better one
    std::vector<std::string> notes;
};

/// Gathers what becomes of each rule and makes a configuration in which all of it can be typed: no two items
/// with one trigger, none behind a shorter one that runs at once. A rule with several triggers is converted
/// when one of them can be had.
class ImportBuilder {
public:
    void convert(ImportedRule rule) { actions_.push_back(std::move(rule)); }
    /// A rule that only opens a sequence; without a converted rule beneath it, it is left out.
    void group(ImportedRule rule) { groups_.push_back(std::move(rule)); }
    /// A rule whose work is done without any item.
    void cover(int line, std::string_view rule, std::string note);
    void leaveOut(int line, std::string_view rule, std::string reason);
    void note(int line, std::string_view rule, std::string text);

    [[nodiscard]] ImportReport finished();

private:
    using Trigger = ImportedRule::Trigger;

    void settleActions();
    std::string objection(const Trigger& live) const;
    void settleGroups();
    void addPassthroughGroups();
    void finish(const ImportedRule& rule, const std::vector<Trigger>& granted,
                const std::vector<std::string>& objections);

    std::vector<ImportedRule> actions_;
    std::vector<ImportedRule> groups_;
    ImportReport report_;
    std::map<Trigger, const ImportedRule*> taken_; ///< the actions' triggers
    std::map<Trigger, ConfigItem> groupItems_;
};

} // namespace varnel
