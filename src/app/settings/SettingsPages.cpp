#include "app/settings/SettingsPages.h"

#include "app/WhyPage.h"
#include "app/settings/Capabilities.h"
#include "runtime/Application.h"

namespace varnel {

std::vector<SettingsPage> makeSettingsPages(const SettingsPagesContext& context) {
    Application& application = context.application;
    PreferenceStore& preferences = application.preferences();
    auto decisions = std::make_shared<CapabilityDecisions>(application.plugins().manager(),
                                                           application.plugins().backgroundQueue());
    return {makeTimingPage(preferences),
            makeHintsPage({preferences, context.naming, context.showSample, context.changed}),
            makeConfigFilePage({application.config(), preferences, context.actions}),
            makeCapabilitiesPage(std::move(decisions)), makeWhyPage(application.hotkeys())};
}

} // namespace varnel
