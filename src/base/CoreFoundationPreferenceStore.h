#pragma once

#include "base/SharedPreferences.h"

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
    /// Tells every program that watches, this one too.
    std::function<void()> announceChange;
    /// Has `changed` called on the main queue after each announcement; gives what `stopWatching` takes. A
    /// call that is on its way then still comes.
    std::function<int(std::function<void()> changed)> startWatching;
    std::function<void(int)> stopWatching;
    std::string domain; ///< the name under which the system keeps them
};

/// Preferences in the place where macOS keeps them.
class CoreFoundationPreferenceStore : public SharedPreferences {
public:
    explicit CoreFoundationPreferenceStore(PreferencesTable table)
        : table_(std::move(table)) {}
    std::expected<void, std::string> reload() override;
    [[nodiscard]] std::string place() const override { return table_.domain; }
    [[nodiscard]] Subscription watch(FileEventSource& events, Reloaded reloaded) override;
    [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override;
    /// A value with null in it is refused: property lists have none.
    std::expected<void, std::string> setValue(std::string_view key, std::optional<JSONValue> value) override;

private:
    PreferencesTable table_;
};

} // namespace varnel
