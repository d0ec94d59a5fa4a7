#pragma once

#include "base/EventLoop.h"
#include "base/SerialQueue.h"
#include "keyboard/DynamicChoices.h"
#include "plugins/PluginManager.h"

#include <functional>
#include <string>

namespace varnel {

/// Lets the plugin of an action supply what there is to choose from. The plugin runs on the executor under
/// its usual limits; one that has started ends by itself after a cancellation, one that waits never starts.
class PluginChoiceResolver final : public DynamicChoiceResolver {
public:
    /// All references must outlive the resolver and what it has submitted.
    struct Surroundings {
        EventLoop& loop;
        /// Where plugins run. Not the command queue: a command that runs must not hold up a choice.
        SerialExecutor& executor;
        const PluginManager& manager;
        std::function<std::string()> configurationPath;
        std::function<const PluginSettings&()> pluginSettings;
    };
    explicit PluginChoiceResolver(Surroundings surroundings);

    /// Whether the item's plugin is active, its manifest promises choices for the action, and the item does
    /// not already say which one.
    [[nodiscard]] bool asksFor(const ConfigItem& item) const override;
    [[nodiscard]] Subscription resolve(const ConfigItem& item, Answer answer) override;

private:
    [[nodiscard]] PluginExecutionRequest requestFor(const ConfigItem& item) const;

    Surroundings surroundings_;
};

} // namespace varnel
