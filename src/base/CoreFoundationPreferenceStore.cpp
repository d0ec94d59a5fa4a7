#include "base/CoreFoundationPreferenceStore.h"

#include "base/Localized.h"

#include <algorithm>
#include <memory>

namespace varnel {

namespace {

bool containsNull(const JSONValue& value) {
    if (const auto* members = value.object())
        return std::any_of(members->begin(), members->end(),
                           [](const auto& member) { return containsNull(member.second); });
    if (const auto* elements = value.array())
        return std::any_of(elements->begin(), elements->end(), containsNull);
    return value.isNull();
}

} // namespace

std::expected<void, std::string> CoreFoundationPreferenceStore::reload() {
    // Also brings what other programs have stored.
    if (table_.synchronize())
        return {};
    return std::unexpected(localized("The system could not read the preferences of %1.", {table_.domain}));
}

Subscription CoreFoundationPreferenceStore::watch(FileEventSource&, Reloaded reloaded) {
    auto alive = std::make_shared<int>();
    const int token =
        table_.startWatching([this, reloaded = std::move(reloaded), watched = std::weak_ptr(alive)] {
            if (!watched.expired())
                reloaded(reload());
        });
    return Subscription([this, token, alive = std::move(alive)] { table_.stopWatching(token); });
}

std::optional<JSONValue> CoreFoundationPreferenceStore::value(std::string_view key) const {
    return table_.copyValue(std::string(key));
}

std::expected<void, std::string> CoreFoundationPreferenceStore::setValue(std::string_view key,
                                                                         std::optional<JSONValue> value) {
    const std::string name(key);
    if (value && containsNull(*value))
        return std::unexpected(localized("The preference %1 cannot hold null.", {name}));
    const auto before = table_.copyValue(name);
    table_.setValue(name, value);
    if (table_.synchronize()) {
        table_.announceChange();
        return {};
    }
    table_.setValue(name, before);
    return std::unexpected(localized("The system could not keep the preference %1.", {name}));
}

} // namespace varnel
