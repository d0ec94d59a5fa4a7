#include "base/macos/ApplicationIdentifier.h"
#include "base/macos/CoreFoundationValues.h"
#include "base/macos/SystemTables.h"

#include <dispatch/dispatch.h>
#include <notify.h>

#include <utility>

namespace varnel {

namespace {

constexpr const char* kChangeNotice = "com.brackwell.varnel.preferences-changed";

// By its name, not as "the current application": the command line shares the domain wherever it is installed.
const CFStringRef kDomain = CFSTR(VARNEL_APPLICATION_IDENTIFIER);

int startWatching(std::function<void()> changed) {
    int token = NOTIFY_TOKEN_INVALID;
    notify_register_dispatch(kChangeNotice, &token, dispatch_get_main_queue(), ^(int) {
      changed();
    });
    return token;
}

} // namespace

PreferencesTable systemPreferences() {
    return {.copyValue = [](const std::string& key) -> std::optional<JSONValue> {
                const CoreFoundationOwned<CFTypeRef> value(
                    CFPreferencesCopyAppValue(makeString(key).get(), kDomain));
                return value ? readValue(value.get()) : std::nullopt;
            },
            .setValue =
                [](const std::string& key, const std::optional<JSONValue>& value) {
                    const auto object = makeValue(value.value_or(nullptr));
                    CFPreferencesSetAppValue(makeString(key).get(), object.get(), kDomain);
                },
            .synchronize = [] { return CFPreferencesAppSynchronize(kDomain) != 0; },
            .announceChange = [] { notify_post(kChangeNotice); },
            .startWatching = startWatching,
            .stopWatching = [](int token) { notify_cancel(token); },
            .domain = VARNEL_APPLICATION_IDENTIFIER};
}

std::unique_ptr<SharedPreferences> openSystemPreferences(FileSystem&, const std::string&) {
    return std::make_unique<CoreFoundationPreferenceStore>(systemPreferences());
}

} // namespace varnel
