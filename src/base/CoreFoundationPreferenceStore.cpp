#include "base/CoreFoundationPreferenceStore.h"

#include <algorithm>

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

std::optional<JSONValue> CoreFoundationPreferenceStore::value(std::string_view key) const {
    return table_.copyValue(std::string(key));
}

std::expected<void, std::string> CoreFoundationPreferenceStore::setValue(std::string_view key,
                                                                         std::optional<JSONValue> value) {
    const std::string name(key);
    if (value && containsNull(*value))
        return std::unexpected("The preference " + name + " cannot hold null.");
    const auto before = table_.copyValue(name);
    table_.setValue(name, value);
    if (table_.synchronize())
        return {};
    table_.setValue(name, before);
    return std::unexpected("The system could not keep the preference " + name + ".");
}

} // namespace varnel
