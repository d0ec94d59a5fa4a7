#pragma once

#include "config/ConfigCheck.h"

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
};

/// Gathers warnings; their lines and columns are filled in at the end, all in one pass over the text.
class ConfigFindings {
public:
    explicit ConfigFindings(const CheckedConfig& config)
        : config_(config) {}

    void add(std::string_view code, JSONPath path, std::string message);
    /// About one item, at the place of its `members`; the message follows the mention of the item.
    void addForItem(std::string_view code, std::size_t index, const std::vector<std::string>& members,
                    std::string_view message);
    /// About one item, at a place that the caller knows.
    void addForItemAt(std::string_view code, std::size_t index, JSONPath path, std::string_view message);
    /// A finding whose place is known already.
    void addAt(std::string_view code, const JSONPath& path, std::string message, JSONPosition position);

    [[nodiscard]] std::vector<Diagnostic> finished(std::string_view text);

private:
    struct Pending {
        JSONPath path;
        std::size_t finding;
    };
    const CheckedConfig& config_;
    std::vector<Diagnostic> findings_;
    std::vector<Pending> pending_;
};

void checkMembers(const CheckedConfig& config, ConfigFindings& findings);
void checkIdentifiers(const CheckedConfig& config, ConfigFindings& findings);
void checkTriggers(const CheckedConfig& config, ConfigFindings& findings);
void checkActions(const CheckedConfig& config, const std::vector<KnownAction>& known,
                  ConfigFindings& findings);

/// The text in quotes, on one line and not too long.
std::string quoteForMessage(std::string_view text);

} // namespace varnel
