#pragma once

#include "app/SettingsPage.h"
#include "base/PreferenceStore.h"
#include "runtime/LaunchAtLogin.h"

namespace varnel {

class ShellActions;

/// The page for what concerns the application as a whole: launch at login, and the editor. Everything must
/// outlive the page.
SettingsPage makeGeneralPage(LaunchAtLogin& login, PreferenceStore& preferences, ShellActions& actions);

} // namespace varnel
