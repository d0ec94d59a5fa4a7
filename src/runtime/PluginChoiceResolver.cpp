#include "runtime/PluginChoiceResolver.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "plugins/PluginCommand.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace varnel {

namespace {

std::expected<DynamicChoiceList, std::string>
choiceList(std::string title, std::expected<std::vector<PluginChoice>, std::string> offered) {
    if (!offered)
        return std::unexpected(
            singleLine(localized("Failed to execute action: %1", {offered.error()}), kPluginStatusLength));
    DynamicChoiceList list{.title = std::move(title), .choices = {}};
    list.choices.reserve(offered->size());
    for (PluginChoice& each : *offered) {
        DynamicChoice choice;
        choice.id = std::move(each.id);
        choice.title = singleLine(each.title, kPluginStatusLength);
        choice.detail = singleLine(each.detail.value_or(""), kPluginStatusLength);
        choice.label = std::move(each.label);
        list.choices.push_back(std::move(choice));
    }
    return list;
}

} // namespace

PluginChoiceResolver::PluginChoiceResolver(Surroundings surroundings)
    : surroundings_(std::move(surroundings)) {}

bool PluginChoiceResolver::asksFor(const ConfigItem& item) const {
    if (item.type != ItemType::action || !item.action || item.action->params.contains(kPluginChoiceParameter))
        return false;
    const auto registry = surroundings_.manager.registry();
    const PluginDescriptor* plugin = registry->activePlugin(item.action->pluginID);
    if (!plugin)
        return false;
    const auto& actions = plugin->manifest.actions;
    const auto action = std::ranges::find(actions, item.action->actionID, &PluginActionDescriptor::id);
    return action != actions.end() && action->dynamicChoices.value_or(false);
}

PluginExecutionRequest PluginChoiceResolver::requestFor(const ConfigItem& item) const {
    PluginExecutionRequest request;
    request.pluginID = item.action->pluginID;
    request.actionID = item.action->actionID;
    request.params = item.action->params;
    const PluginSettings& settings = surroundings_.pluginSettings();
    if (const auto own = settings.find(request.pluginID); own != settings.end())
        request.settings = own->second;
    request.context.configPath = surroundings_.configurationPath();
    if (const auto& frontmost = surroundings_.manager.options().frontmostApplication)
        request.context.frontmostAppBundleID = frontmost();
    return request;
}

Subscription PluginChoiceResolver::resolve(const ConfigItem& item, Answer answer) {
    const auto isWanted = std::make_shared<std::atomic<bool>>(true);
    surroundings_.executor.submit([run = surroundings_.manager.runChoices(requestFor(item)),
                                   title = item.name, answer = std::move(answer), isWanted,
                                   &loop = surroundings_.loop] {
        if (!*isWanted)
            return;
        auto list = choiceList(title, run());
        loop.post([answer, isWanted, list = std::move(list)]() mutable {
            if (*isWanted)
                answer(std::move(list));
        });
    });
    return Subscription([isWanted] { *isWanted = false; });
}

} // namespace varnel
