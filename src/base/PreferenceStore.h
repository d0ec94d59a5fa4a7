#pragma once

#include "base/JSONValue.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace varnel {

/// The user's preferences, one JSON value a key. Callers ask at the moment of use and do not keep values.
/// Any thread; reading never touches a file nor waits longer than for a look-up in memory.
class PreferenceStore {
public:
    virtual ~PreferenceStore() = default;
    [[nodiscard]] virtual std::optional<JSONValue> value(std::string_view key) const = 0;
    /// Stores or, without a value, removes. On failure (a sentence for the user) nothing changes.
    virtual std::expected<void, std::string> setValue(std::string_view key,
                                                      std::optional<JSONValue> value) = 0;
};

/// A whole number stored under `key`; none when absent or of another kind.
std::optional<long long> integerPreference(const PreferenceStore& store, std::string_view key);
std::optional<std::string> stringPreference(const PreferenceStore& store, std::string_view key);
bool booleanPreference(const PreferenceStore& store, std::string_view key, bool fallback);

/// Preferences in memory: tests, and `varnel simulate`.
class MemoryPreferenceStore;

} // namespace varnel
