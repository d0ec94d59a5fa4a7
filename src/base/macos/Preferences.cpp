#include "base/macos/CoreFoundationValues.h"
#include "base/macos/SystemTables.h"

namespace varnel {

PreferencesTable systemPreferences() {
    return {.copyValue = [](const std::string& key) -> std::optional<JSONValue> {
                const CoreFoundationOwned<CFTypeRef> value(
                    CFPreferencesCopyAppValue(makeString(key).get(), kCFPreferencesCurrentApplication));
                return value ? readValue(value.get()) : std::nullopt;
            },
            .setValue =
                [](const std::string& key, const std::optional<JSONValue>& value) {
                    const auto object = makeValue(value.value_or(nullptr));
                    CFPreferencesSetAppValue(makeString(key).get(), object.get(),
                                             kCFPreferencesCurrentApplication);
                },
            .synchronize = [] { return CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication) != 0; }};
}

} // namespace varnel
