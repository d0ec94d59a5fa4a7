#include "app/settings/SettingsPages.h"

#include "app/WhyPage.h"
#include "app/settings/Capabilities.h"
#include "runtime/Application.h"

namespace varnel {

std::vector<SettingsPage> makeSettingsPages(const SettingsPagesContext& context) {
    Application& application = context.application;
    PreferenceStore& preferences = application.preferences();
    HotkeyManager& hotkeys = application.hotkeys();
    auto decisions = std::make_shared<CapabilityDecisions>(application.plugins().manager(),
                                                           application.plugins().backgroundQueue());
    return {
        makeTimingPage(preferences),
        makeHintsPage({preferences, context.naming, context.showSample, context.changed}),
        makeConfigFilePage({application.config(), preferences, context.actions}),
        makeCapabilitiesPage(std::move(decisions)),
        makeWhyPage({.lines = [&hotkeys] { return whyLines(hotkeys.decisions(), hotkeys.decisionContext()); },
                     .observe =
                         [&hotkeys](std::function<void()> observer) {
                             return hotkeys.observe(HotkeyManager::Topic::decisions, std::move(observer));
                         }})};
}

} // namespace varnel
