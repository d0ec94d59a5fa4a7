#pragma once

#include "app/SettingsPage.h"

namespace varnel {

class HotkeyManager;

/// "Why did nothing happen?": the last decisions in plain words, the latest first, kept up to date while the
/// page is seen. `hotkeys` must outlive the page.
SettingsPage makeWhyPage(HotkeyManager& hotkeys);

} // namespace varnel
