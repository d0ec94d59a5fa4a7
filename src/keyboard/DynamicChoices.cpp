#include "keyboard/DynamicChoices.h"

#include "keyboard/notation/ChoiceLabels.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

bool wantsFullAlphabet(const ConfigItem& item) {
    if (!item.action)
        return false;
    auto it = item.action->params.find("useFullAlphabet");
    return it != item.action->params.end() && it->second.boolean() && *it->second.boolean();
}

const std::string* textParameter(const ConfigAction& action, std::string_view name) {
    auto it = action.params.find(name);
    return it == action.params.end() ? nullptr : it->second.string();
}

} // namespace

std::vector<LabeledChoice> labeled(std::vector<DynamicChoice> choices, const ConfigItem& item) {
    std::vector<std::optional<std::string>> own;
    own.reserve(choices.size());
    for (const DynamicChoice& choice : choices)
        own.push_back(choice.label);
    auto labels = ChoiceLabels::ownLabels(own);
    if (!labels)
        labels = ChoiceLabels::labels(static_cast<long long>(choices.size()), wantsFullAlphabet(item));
    std::vector<LabeledChoice> result;
    result.reserve(choices.size());
    for (std::size_t i = 0; i < choices.size(); ++i)
        result.push_back({std::move((*labels)[i]), std::move(choices[i])});
    return result;
}

ConfigItem itemForChoice(const ConfigItem& item, const DynamicChoice& choice) {
    ConfigItem chosen = item;
    if (choice.action)
        chosen.action = choice.action;
    else if (chosen.action)
        chosen.action->params["choice"] = choice.id;
    return chosen;
}

void DynamicChoiceRegistry::add(std::string key, std::shared_ptr<DynamicChoiceResolver> resolver) {
    for (auto& [known, current] : resolvers_)
        if (known == key) {
            current = std::move(resolver);
            return;
        }
    resolvers_.emplace_back(std::move(key), std::move(resolver));
}

void DynamicChoiceRegistry::remove(std::string_view key) {
    std::erase_if(resolvers_, [key](const auto& entry) { return entry.first == key; });
}

std::shared_ptr<DynamicChoiceResolver> DynamicChoiceRegistry::resolverFor(const ConfigItem& item) const {
    for (const auto& [key, resolver] : resolvers_)
        if (resolver->asksFor(item))
            return resolver;
    return nullptr;
}

std::optional<std::string> applicationPathForWindowChoice(const ConfigItem& item) {
    if (item.type != ItemType::action || !item.action || item.action->pluginID != core::application ||
        item.action->actionID != "open")
        return std::nullopt;
    const std::string* mode = textParameter(*item.action, "windowSelectionMode");
    const std::string* path = textParameter(*item.action, "path");
    if (!mode || *mode != "chooseWhenMultiple" || !path)
        return std::nullopt;
    return *path;
}

bool asksForRunningApplication(const ConfigItem& item) {
    const auto names = [&](std::string_view parameter) {
        const std::string* text = textParameter(*item.action, parameter);
        return text && !text->empty();
    };
    return item.type == ItemType::action && item.action && item.action->pluginID == core::runningApps &&
           item.action->actionID == "activate" && !names("application") && !names("choice");
}

} // namespace varnel
