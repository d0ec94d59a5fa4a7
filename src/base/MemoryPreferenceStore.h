#pragma once

#include "base/PreferenceStore.h"

#include <mutex>

namespace varnel {

/// Preferences that live as long as this object.
class MemoryPreferenceStore : public PreferenceStore {
public:
    explicit MemoryPreferenceStore(JSONValue::Object values = {})
        : values_(std::move(values)) {}
    [[nodiscard]] std::optional<JSONValue> value(std::string_view key) const override;
    std::expected<void, std::string> setValue(std::string_view key, std::optional<JSONValue> value) override;

private:
    mutable std::mutex mutex_;
    JSONValue::Object values_;
};

} // namespace varnel
