#include "app/settings/Capabilities.h"

#include "base/Localized.h"

#include <algorithm>

namespace varnel {

namespace {

using Decision = CapabilityDecision;
using StatusKind = PluginStatus::Kind;

/// As much of a hash as can be compared by eye.
constexpr std::size_t kShortHash = 12;

std::string statusText(const PluginDescriptor& package) {
    switch (package.status.kind) {
    case StatusKind::untrusted:
        return package.isEnabled ? localized("Not trusted") : localized("Kept off");
    case StatusKind::invalid:
        return localized("Damaged");
    case StatusKind::conflict:
        return localized("In conflict");
    case StatusKind::shadowed:
        return localized("Not in use");
    case StatusKind::active:
        return localized("Active");
    case StatusKind::disabled:
        break;
    }
    return localized("Disabled");
}

std::string reasonText(const PluginDescriptor& package) {
    if (package.status.message)
        return *package.status.message;
    switch (package.status.kind) {
    case StatusKind::untrusted:
        return package.isEnabled
                   ? localized(
                         "You have not decided yet whether it may run. It could do all that you can do on "
                         "this computer: trust it only if you know where it comes from.")
                   : localized("It is not trusted and does not run.");
    case StatusKind::disabled:
        return localized("You have disabled it.");
    default:
        return {};
    }
}

CapabilityRow::Mark mark(const PluginDescriptor& package) {
    const StatusKind kind = package.status.kind;
    if (kind == StatusKind::active)
        return CapabilityRow::Mark::on;
    const bool isSettled = !package.isEnabled || kind == StatusKind::shadowed || kind == StatusKind::disabled;
    return isSettled ? CapabilityRow::Mark::off : CapabilityRow::Mark::attention;
}

std::vector<Decision> openDecisions(const PluginDescriptor& package) {
    const bool isInvalid = package.status.kind == StatusKind::invalid;
    std::vector<Decision> decisions;
    if (!package.isTrusted) {
        if (!isInvalid && package.bundleHash)
            decisions.push_back(Decision::trust);
        if (package.isEnabled)
            decisions.push_back(Decision::keepOff);
        return decisions;
    }
    decisions.push_back(package.isEnabled ? Decision::disable : Decision::enable);
    if (package.sourceKind == PluginSourceKind::user)
        decisions.push_back(Decision::withdrawTrust);
    return decisions;
}

std::string hookText(PluginHook hook) {
    return hook == PluginHook::appDidLaunch ? localized("at the start of Varnel!")
                                            : localized("after each loading of the configuration");
}

CapabilityRow rowOf(const PluginDescriptor& package) {
    const PluginManifest& manifest = package.manifest;
    CapabilityRow row{
        .url = package.pluginURL,
        .name = manifest.name.empty() ? manifest.id : manifest.name,
        .identifier = manifest.id,
        .source = package.sourceKind == PluginSourceKind::bundled ? localized("Bundled")
                                                                  : localized("Installed by you"),
        .version = manifest.version,
        .hash = package.bundleHash.value_or(""),
        .shortHash = package.bundleHash.value_or("").substr(0, kShortHash),
        .mark = mark(package),
        .status = statusText(package),
        .reason = reasonText(package),
        .actions = {},
        .hooks = {},
        .decisions = openDecisions(package),
    };
    for (const PluginActionDescriptor& action : manifest.actions)
        row.actions.push_back(action.description.empty()
                                  ? action.name
                                  : localized("%1: %2", {action.name, action.description}));
    for (const PluginHook hook : manifest.hooks.value_or(std::vector<PluginHook>()))
        row.hooks.push_back(hookText(hook));
    return row;
}

} // namespace

std::string label(CapabilityDecision decision) {
    switch (decision) {
    case Decision::trust:
        return localized("&Trust");
    case Decision::trustBuiltInID:
        return localized("&Trust All the Same");
    case Decision::keepOff:
        return localized("&Keep Off");
    case Decision::withdrawTrust:
        return localized("&Withdraw Trust");
    case Decision::disable:
        return localized("&Disable");
    case Decision::enable:
        break;
    }
    return localized("&Enable");
}

std::vector<CapabilityRow> capabilityRows(const PluginRegistry& registry) {
    std::vector<CapabilityRow> rows;
    for (const auto& package : registry.descriptors)
        rows.push_back(rowOf(*package));
    return rows;
}

Subscription CapabilityDecisions::observe(std::function<void()> observer) {
    return manager_.observe([observer = std::move(observer)](const PluginRegistry&) { observer(); });
}

void CapabilityDecisions::decide(const std::string& url, CapabilityDecision decision, Done done) {
    switch (decision) {
    case Decision::trust:
        return trust(url, BuiltInIDs::refuse, std::move(done));
    case Decision::trustBuiltInID:
        return trust(url, BuiltInIDs::mayBeTaken, std::move(done));
    case Decision::withdrawTrust:
        return manager_.untrustInBackground(worker_, url, std::move(done));
    case Decision::keepOff:
    case Decision::disable:
        return manager_.setEnabledInBackground(worker_, url, false, std::move(done));
    case Decision::enable:
        return manager_.setEnabledInBackground(worker_, url, true, std::move(done));
    }
}

/// Whoever trusts what was kept off wants it to run.
void CapabilityDecisions::trust(const std::string& url, BuiltInIDs builtInIDs, Done done) {
    const auto registry = manager_.registry();
    const auto package = std::ranges::find(registry->descriptors, url,
                                           [](const auto& descriptor) { return descriptor->pluginURL; });
    const bool wasKeptOff = package != registry->descriptors.end() && !(*package)->isEnabled;
    if (!wasKeptOff)
        return manager_.trustInBackground(worker_, url, builtInIDs, std::move(done));
    manager_.trustInBackground(worker_, url, builtInIDs,
                               [&manager = manager_, &worker = worker_, url, done](const auto& trusted) {
                                   if (trusted)
                                       manager.setEnabledInBackground(worker, url, true, done);
                                   else
                                       done(trusted);
                               });
}

} // namespace varnel
