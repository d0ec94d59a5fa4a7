#pragma once

#include "config/ConfigCheck.h"
#include "config/ConfigDocument.h"

#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// A configuration that loads, with the tree that it was read from.
struct CheckedConfig {
    const ConfigFileDocument& document;
    const JSONValue& root;

    [[nodiscard]] const ConfigItem& item(std::size_t index) const { return document.items[index]; }
    [[nodiscard]] const JSONValue& tree(std::size_t index) const;
    [[nodiscard]] JSONPath itemPath(std::size_t index) const;
    /// The member's place, or that of the nearest thing around it that is there.
    [[nodiscard]] JSONPath memberPath(std::size_t index, const std::vector<std::string>& members) const;
    /// `"Mail" (items[3])`, for messages.
    [[nodiscard]] std::string mention(std::size_t index) const;
    /// The item's identifier; empty where the text has none, since nobody could look up a random one.
    [[nodiscard]] std::string itemID(std::size_t index) const;
};

/// Gathers findings; their lines and columns are filled in at the end, all in one pass over the text.
class ConfigFindings {
public:
    explicit ConfigFindings(const CheckedConfig& config)
        : config_(config) {}

    void add(RuleID rule, JSONPath path, std::string message);
    /// About one item, at the place of its `members`; `message` mentions the item.
    void addForItem(RuleID rule, std::size_t index, const std::vector<std::string>& members,
                    std::string message);
    /// About one item, at a place that the caller knows.
    void addForItemAt(RuleID rule, std::size_t index, JSONPath path, std::string message);
    /// A finding whose place is known already.
    void addAt(RuleID rule, const JSONPath& path, std::string message, JSONPosition position);
    /// Names another item, at its `member`, that the latest finding has to do with.
    void relate(std::size_t index, const std::string& member, std::string message);

    [[nodiscard]] std::vector<Diagnostic> finished(std::string_view text);

private:
    struct Pending {
        JSONPath path;
        std::size_t finding;
        bool isRelated;
    };
    const CheckedConfig& config_;
    std::vector<Diagnostic> findings_;
    std::vector<Pending> pending_;
};

void checkMembers(const CheckedConfig& config, ConfigFindings& findings);
void checkIdentifiers(const CheckedConfig& config, ConfigFindings& findings);
void checkTriggers(const CheckedConfig& config, ConfigFindings& findings);
void checkActions(const CheckedConfig& config, const CheckSurroundings& surroundings,
                  ConfigFindings& findings);

/// The text in quotes, on one line and not too long.
std::string quoteForMessage(std::string_view text);
/// The end of a sentence about an unknown word: a full stop, or "; did you mean …?".
std::string suggestion(std::string_view word, const std::vector<std::string>& candidates);
/// The canonical spelling of a step that can be typed; otherwise the step as it stands.
std::string canonicalStep(const std::string& step);
/// Whether the action is stored in the form that came before identifiers.
bool isOlderAction(const JSONValue& action);

} // namespace varnel
