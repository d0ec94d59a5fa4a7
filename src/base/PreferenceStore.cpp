#include "base/PreferenceStore.h"

#include "base/MemoryPreferenceStore.h"

#include <cmath>

namespace varnel {

std::optional<long long> integerPreference(const PreferenceStore& store, std::string_view key) {
    const auto value = store.value(key);
    const double* number = value ? value->number() : nullptr;
    // Beyond 2^53 neighbouring whole numbers share one double.
    if (!number || std::trunc(*number) != *number || std::fabs(*number) > 9007199254740992.0)
        return std::nullopt;
    return static_cast<long long>(*number);
}

std::optional<std::string> stringPreference(const PreferenceStore& store, std::string_view key) {
    const auto value = store.value(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

bool booleanPreference(const PreferenceStore& store, std::string_view key, bool fallback) {
    const auto value = store.value(key);
    const bool* truth = value ? value->boolean() : nullptr;
    return truth ? *truth : fallback;
}

std::optional<JSONValue> MemoryPreferenceStore::value(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::expected<void, std::string> MemoryPreferenceStore::setValue(std::string_view key,
                                                                 std::optional<JSONValue> value) {
    const std::lock_guard lock(mutex_);
    if (value)
        values_.insert_or_assign(std::string(key), *std::move(value));
    else if (const auto found = values_.find(key); found != values_.end())
        values_.erase(found);
    return {};
}

} // namespace varnel
