#include "base/Localized.h"
#include "base/Text.h"
#include "config/ConfigFindings.h"
#include "config/ConfigParameterCheck.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace varnel {
namespace {

/// The known actions, ordered for look-ups.
class ActionCheck {
public:
    ActionCheck(const CheckedConfig& config, const CheckSurroundings& surroundings, ConfigFindings& findings)
        : config_(config)
        , surroundings_(surroundings)
        , findings_(findings) {
        for (const KnownAction& action : surroundings.actions)
            plugins_[action.pluginID].emplace(action.actionID, &action);
    }

    void run() {
        for (std::size_t index = 0; index < config_.document.items.size(); ++index) {
            const ConfigItem& item = config_.item(index);
            if (item.type != ItemType::action)
                continue;
            if (!item.action)
                findings_.addForItem(
                    RuleID::missingAction, index, {"action"},
                    localized("%1 has no action, so typing it runs nothing. Add an \"action\".",
                              {config_.mention(index)}));
            else
                checkAction(index, *item.action);
        }
    }

private:
    void checkAction(std::size_t index, const ConfigAction& action) {
        const bool isUnavailable = config_.item(index).isEnabled && reportUnavailable(index, action);
        const auto plugin = plugins_.find(action.pluginID);
        if (plugin == plugins_.end()) {
            if (!isUnavailable && !unavailable(action.pluginID))
                reportUnknownPlugin(index, action);
            return;
        }
        const auto known = plugin->second.find(action.actionID);
        if (known == plugin->second.end())
            return reportUnknownAction(index, action, plugin->second);
        for (const ParameterProblem& problem : checkParameters(action, *known->second))
            findings_.addForItem(problem.rule, index, {"action", "params", problem.key},
                                 config_.mention(index) + " " + problem.clause);
        if (config_.item(index).isEnabled)
            checkApplications(index, action, *known->second);
    }

    [[nodiscard]] const UnavailablePlugin* unavailable(std::string_view pluginID) const {
        const auto& plugins = surroundings_.unavailablePlugins;
        const auto found = std::ranges::find(plugins, pluginID, &UnavailablePlugin::pluginID);
        return found == plugins.end() ? nullptr : &*found;
    }

    bool reportUnavailable(std::size_t index, const ConfigAction& action) {
        const UnavailablePlugin* plugin = unavailable(action.pluginID);
        if (!plugin)
            return false;
        const std::string mention = config_.mention(index);
        if (plugin->isUntrusted)
            findings_.addForItem(
                RuleID::untrustedPlugin, index, {"action", "pluginID"},
                localized("%1 does nothing: %2 Look at the package, then: varnel plugins trust %3",
                          {mention, plugin->reason, singleLine(action.pluginID, 60)}));
        else
            findings_.addForItem(
                RuleID::inactivePlugin, index, {"action", "pluginID"},
                localized("%1 does nothing: %2", {mention, singleLine(plugin->reason, 400)}));
        return true;
    }

    void reportUnknownPlugin(std::size_t index, const ConfigAction& action) {
        std::vector<std::string> plugins;
        plugins.reserve(plugins_.size());
        for (const auto& [id, actions] : plugins_)
            plugins.push_back(id);
        findings_.addForItem(RuleID::unknownAction, index, {"action", "pluginID"},
                             localized("%1 uses %2, a capability that is not known here%3 Install the "
                                       "capability or correct \"pluginID\".",
                                       {config_.mention(index), quoteForMessage(action.pluginID),
                                        suggestion(action.pluginID, plugins)}));
    }

    using Actions = std::map<std::string, const KnownAction*, std::less<>>;

    void reportUnknownAction(std::size_t index, const ConfigAction& action, const Actions& known) {
        std::vector<std::string> actions;
        for (const auto& [id, which] : known)
            actions.push_back(id);
        findings_.addForItem(RuleID::unknownAction, index, {"action", "actionID"},
                             localized("%1 uses the action %2, which %3 does not have%4 It has %5.",
                                       {config_.mention(index), quoteForMessage(action.actionID),
                                        quoteForMessage(action.pluginID),
                                        suggestion(action.actionID, actions), join(actions, ", ")}));
    }

    void checkApplications(std::size_t index, const ConfigAction& action, const KnownAction& known) {
        if (!surroundings_.whyNoApplication)
            return;
        std::set<std::string> checked;
        for (const KnownAction::Form& form : known.forms)
            for (const KnownAction::Parameter& parameter : form) {
                if (parameter.kind != KnownAction::Parameter::Kind::application ||
                    !checked.insert(parameter.key).second)
                    continue;
                const auto found = action.params.find(parameter.key);
                const std::string* path = found == action.params.end() ? nullptr : found->second.string();
                if (path && !trimmed(*path).empty())
                    checkApplication(index, parameter.key, *path);
            }
    }

    void checkApplication(std::size_t index, const std::string& key, const std::string& path) {
        const auto [known, isNew] = whyNot_.try_emplace(path);
        if (isNew)
            known->second = surroundings_.whyNoApplication(path);
        if (!known->second.empty())
            findings_.addForItem(RuleID::missingApplication, index, {"action", "params", key},
                                 localized("%1 opens %2, which is not on this machine: %3. Correct the path "
                                           "or install the application.",
                                           {config_.mention(index), quoteForMessage(path), known->second}));
    }

    const CheckedConfig& config_;
    const CheckSurroundings& surroundings_;
    ConfigFindings& findings_;
    std::map<std::string, Actions, std::less<>> plugins_;
    std::map<std::string, std::string> whyNot_; ///< by path
};

} // namespace

std::vector<KnownAction> builtInActions() {
    using Parameter = KnownAction::Parameter;
    using enum Parameter::Kind;
    const std::vector<std::string> onWorkspaces{"workspace-name", "summon-workspace",
                                                "move-node-to-workspace-name"};
    const std::vector<std::string> onMonitors{"focus-monitor-pattern", "move-node-to-monitor-pattern",
                                              "move-workspace-to-monitor-pattern"};
    return {
        {core::application,
         "open",
         {{{.key = "path", .kind = application, .required = true},
           {.key = "windowSelectionMode", .kind = choice, .choices = {"frontmost", "chooseWhenMultiple"}}}}},
        {core::shortcut,
         "press",
         {{{.key = "shortcut", .kind = shortcut, .required = true},
           {.key = "deliveryMode", .kind = choice, .choices = {"global", "local"}}}}},
        {core::shell,
         "run",
         {{{.key = "command", .kind = text, .required = true},
           {.key = "openInTerminal", .kind = boolean},
           {.key = "terminalApplication", .kind = text}}}},
        {core::window, "arrange", {{{.key = "arrangement", .kind = text, .required = true}}}},
        {core::aerospace,
         "run",
         {{{.key = "operation", .kind = text, .defaultValue = "focus-left"},
           {.key = "workspace",
            .kind = text,
            .required = true,
            .dependsOn = "operation",
            .shownWhen = onWorkspaces},
           {.key = "monitorPattern",
            .kind = text,
            .required = true,
            .dependsOn = "operation",
            .shownWhen = onMonitors},
           {.key = "arguments"}}}},
        {core::runningApps,
         "activate",
         {{{.key = "application", .kind = text}, {.key = "useFullAlphabet", .kind = boolean}}}}};
}

void checkActions(const CheckedConfig& config, const CheckSurroundings& surroundings,
                  ConfigFindings& findings) {
    ActionCheck(config, surroundings, findings).run();
}

} // namespace varnel
