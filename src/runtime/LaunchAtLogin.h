#pragma once

#include "base/PreferenceStore.h"

#include <expected>
#include <string>
#include <string_view>

namespace varnel {

/// Whether the user wants the application started at login.
inline constexpr std::string_view kLaunchAtLoginDesired = "launchAtLoginDesired";

/// What will really happen at the next login.
struct LaunchAtLoginState {
    enum class Kind {
        off,
        on,
        needsApproval, ///< registered; the user must allow it in the system's settings
        switchedOff,   ///< registered, but switched off in the system's settings
        gone,          ///< registered with a program that is no longer there; `detail` is where it was
        otherProgram,  ///< what will be started is another copy; `detail` is where it is
        unknown,       ///< `detail` says why
    };
    Kind kind = Kind::off;
    std::string detail = {};
    friend bool operator==(const LaunchAtLoginState&, const LaunchAtLoginState&) = default;
};
/// One sentence for the user.
std::string describe(const LaunchAtLoginState& state);

/// The system's list of what is started at login. Main thread.
class LaunchAtLogin {
public:
    virtual ~LaunchAtLogin() = default;
    /// Read anew each time: the user may have changed it elsewhere.
    virtual LaunchAtLoginState state() = 0;
    /// The error is a sentence; nothing changed then.
    virtual std::expected<void, std::string> setEnabled(bool enabled) = 0;
};

/// Does what the user has just asked for, and remembers it.
std::expected<void, std::string> setLaunchAtLogin(LaunchAtLogin& login, PreferenceStore& preferences,
                                                  bool enabled);
/// At a start: registers again what the user wants and the system has lost, or knows under a path where the
/// program used to be. Never undoes what the user switched off or changed elsewhere.
std::expected<void, std::string> restoreLaunchAtLogin(LaunchAtLogin& login,
                                                      const PreferenceStore& preferences);

} // namespace varnel
