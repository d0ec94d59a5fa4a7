#pragma once

#include "base/PreferenceStore.h"

#include <functional>
#include <string>

namespace varnel {

/// The system's preferences of the running application; one entry for each call. Any thread.
struct PreferencesTable {
    /// None when absent or of a kind that JSON does not have, such as a date.
    std::function<std::optional<JSONValue>(const std::string& key)> copyValue;
    /// Without a value, removes.
    std::function<void(const std::string& key, const std::optional<JSONValue>& value)> setValue;
    std::function<bool()> synchronize; ///< false when the changes could not be kept
};

/// Preferences in the place where macOS keeps them.
class CoreFoundationPreferenceStore : public PreferenceStore {
public:
    explicit CoreFoundationPreferenceStore(PreferencesTable table)
        : table_(std::move(table)) {}
    [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override;
    /// A value with null in it is refused: property lists have none.
    std::expected<void, std::string> setValue(std::string_view key, std::optional<JSONValue> value) override;

private:
    PreferencesTable table_;
};

} // namespace varnel
