#pragma once

#include "app/SettingsPage.h"
#include "base/EventLoop.h"
#include "keyboard/HotkeyManager.h"
#include "overlay/KeyCaps.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

class Application;
class CapabilityDecisions;
class ConfigManager;
class ShellActions;

// The pages of the settings window but for the general one. Everything that is handed in must outlive the
// pages, which call back on the main thread.

/// The times of sequences, and how they end.
SettingsPage makeTimingPage(PreferenceStore& preferences);

struct HintsPageContext {
    PreferenceStore& preferences;
    KeyNaming naming;
    std::function<void()> showSample; ///< on the screen
    std::function<void()> changed;    ///< a preference has been stored
};
SettingsPage makeHintsPage(const HintsPageContext& context);

/// Asks for a file, without holding anything up; the argument is called with its path, or never.
using FileQuestion = std::function<void(std::function<void(const std::string& path)>)>;
struct ConfigFilePageContext {
    ConfigManager& config;
    PreferenceStore& preferences;
    ShellActions& actions;
    FileQuestion askForOpen = {};   ///< empty: the system's panel
    FileQuestion askForCreate = {}; ///< likewise
};
SettingsPage makeConfigFilePage(const ConfigFilePageContext& context);

SettingsPage makeCapabilitiesPage(std::shared_ptr<CapabilityDecisions> decisions);

/// All of these and the one with decisions, for the running application.
struct SettingsPagesContext {
    Application& application;
    ShellActions& actions;
    KeyNaming naming;
    std::function<void()> showSample;
    std::function<void()> changed; ///< a preference of the hints has been stored
};
std::vector<SettingsPage> makeSettingsPages(const SettingsPagesContext& context);

} // namespace varnel
