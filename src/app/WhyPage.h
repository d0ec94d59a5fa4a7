#pragma once

#include "app/SettingsPage.h"
#include "app/settings/WhyLines.h"
#include "base/Subscription.h"

#include <functional>
#include <vector>

namespace varnel {

/// By which the settings window is asked to show it.
inline constexpr const char* kWhyPage = "why";

/// "Why did nothing happen?": the last decisions in plain words, the latest first, kept up to date while the
/// page is seen.
struct WhyPageContext {
    std::function<std::vector<WhyLine>()> lines; ///< as `whyLines` makes them
    /// Calls its argument after each decision.
    std::function<Subscription(std::function<void()>)> observe;
};
SettingsPage makeWhyPage(const WhyPageContext& context);

} // namespace varnel
