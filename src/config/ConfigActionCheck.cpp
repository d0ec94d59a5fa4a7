#include "base/Text.h"
#include "config/ConfigFindings.h"
#include "keyboard/notation/KeyTokenCodec.h"

#include <algorithm>
#include <utility>

namespace varnel {
namespace {

/// The end of a sentence about an unknown word.
std::string suggestion(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string near = nearest(word, candidates);
    return near.empty() ? "." : "; did you mean " + quoteForMessage(near) + "?";
}

/// The known actions, ordered for look-ups.
class ActionCheck {
public:
    ActionCheck(const CheckedConfig& config, std::vector<KnownAction> known, ConfigFindings& findings)
        : config_(config)
        , known_(std::move(known))
        , findings_(findings) {}

    void run() {
        for (std::size_t index = 0; index < config_.document.items.size(); ++index) {
            const ConfigItem& item = config_.item(index);
            if (item.type != ItemType::action)
                continue;
            if (!item.action)
                findings_.addForItem("missing-action", index, {"action"},
                                     "has no action, so typing it runs nothing. Add an \"action\".");
            else
                checkAction(index, *item.action);
        }
    }

private:
    void checkAction(std::size_t index, const ConfigAction& action) {
        const auto known = std::ranges::find_if(known_, [&](const KnownAction& candidate) {
            return candidate.pluginID == action.pluginID && candidate.actionID == action.actionID;
        });
        if (known == known_.end()) {
            reportUnknown(index, action);
            return;
        }
        for (const KnownAction::Parameter& parameter : known->parameters)
            checkParameter(index, action, parameter);
        if (action.pluginID == core::shortcut)
            checkShortcut(index, action);
    }

    void reportUnknown(std::size_t index, const ConfigAction& action) {
        std::vector<std::string> plugins, actions;
        for (const KnownAction& candidate : known_) {
            plugins.push_back(candidate.pluginID);
            if (candidate.pluginID == action.pluginID)
                actions.push_back(candidate.actionID);
        }
        if (actions.empty()) {
            findings_.addForItem("unknown-action", index, {"action", "pluginID"},
                                 "uses " + quoteForMessage(action.pluginID) +
                                     ", a capability that is not known here" +
                                     suggestion(action.pluginID, plugins) +
                                     " Install the capability or correct \"pluginID\".");
            return;
        }
        findings_.addForItem("unknown-action", index, {"action", "actionID"},
                             "uses the action " + quoteForMessage(action.actionID) + ", which " +
                                 quoteForMessage(action.pluginID) + " does not have" +
                                 suggestion(action.actionID, actions) + " It has " + join(actions, ", ") +
                                 ".");
    }

    void checkParameter(std::size_t index, const ConfigAction& action,
                        const KnownAction::Parameter& parameter) {
        if (!parameter.required)
            return;
        const auto found = action.params.find(parameter.key);
        const bool isThere = found != action.params.end() && !found->second.isNull();
        const std::string* text = isThere ? found->second.string() : nullptr;
        if (isThere && !(text && trimmed(*text).empty()))
            return;
        findings_.addForItem("missing-parameter", index, {"action", "params", parameter.key},
                             "lacks the parameter " + quoteForMessage(parameter.key) + " of " +
                                 action.pluginID + " " + quoteForMessage(action.actionID) +
                                 ". Add it to the action's \"params\".");
    }

    void checkShortcut(std::size_t index, const ConfigAction& action) {
        const auto found = action.params.find("shortcut");
        if (found == action.params.end() || found->second.isNull())
            return;
        const std::string* text = found->second.string();
        if (text && (trimmed(*text).empty() || KeyTokenCodec::parse(*text)))
            return;
        const std::string reason = !text ? "it is " + std::string(found->second.kindName()) + ", not a string"
                                   : KeyTokenCodec::isModifierOnly(*text) ? "it names no key"
                                                                          : KeyTokenCodec::explain(*text);
        findings_.addForItem("invalid-shortcut", index, {"action", "params", "shortcut"},
                             "sends a shortcut that is none: " + reason + ". Correct \"shortcut\".");
    }

    const CheckedConfig& config_;
    const std::vector<KnownAction> known_;
    ConfigFindings& findings_;
};

} // namespace

std::vector<KnownAction> builtInActions() {
    return {
        {core::application, "open", {{"path", true}, {"windowSelectionMode", false}}},
        {core::shortcut, "press", {{"shortcut", true}, {"deliveryMode", false}}},
        {core::shell, "run", {{"command", true}, {"openInTerminal", false}, {"terminalApplication", false}}},
        {core::window, "arrange", {{"arrangement", true}}},
        {core::aerospace, "run", {{"operation", true}, {"workspace", false}, {"monitorPattern", false}}},
        {core::runningApps, "activate", {}}};
}

void checkActions(const CheckedConfig& config, const std::vector<KnownAction>& known,
                  ConfigFindings& findings) {
    ActionCheck(config, known, findings).run();
}

} // namespace varnel
