#include "runtime/LaunchAtLogin.h"

#include "base/Localized.h"

namespace varnel {

std::string describe(const LaunchAtLoginState& state) {
    using Kind = LaunchAtLoginState::Kind;
    switch (state.kind) {
    case Kind::off:
        return localized("Varnel! is not started at login.");
    case Kind::on:
        return localized("Varnel! is started at login.");
    case Kind::needsApproval:
        return localized("Allow Varnel! under Login Items in the system's settings.");
    case Kind::switchedOff:
        return localized("Switched off in the settings of your desktop.");
    case Kind::gone:
        return localized("A copy that is no longer there would be started at login: %1", {state.detail});
    case Kind::otherProgram:
        return localized("Another copy is started at login: %1", {state.detail});
    case Kind::unknown:
        break;
    }
    return localized("It cannot be told whether Varnel! is started at login: %1", {state.detail});
}

std::expected<void, std::string> setLaunchAtLogin(LaunchAtLogin& login, PreferenceStore& preferences,
                                                  bool enabled) {
    if (auto changed = login.setEnabled(enabled); !changed)
        return changed;
    return preferences.setValue(kLaunchAtLoginDesired, JSONValue(enabled));
}

std::expected<void, std::string> restoreLaunchAtLogin(LaunchAtLogin& login,
                                                      const PreferenceStore& preferences) {
    if (!booleanPreference(preferences, kLaunchAtLoginDesired, false))
        return {};
    using Kind = LaunchAtLoginState::Kind;
    const Kind kind = login.state().kind;
    if (kind == Kind::off || kind == Kind::gone)
        return login.setEnabled(true);
    return {};
}

} // namespace varnel
