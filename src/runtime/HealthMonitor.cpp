#include "runtime/HealthMonitor.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "runtime/Application.h"
#include "runtime/Pause.h"

#include <algorithm>

namespace varnel {

namespace {

/// Another program that has the keyboard tells nobody when it lets go of it.
constexpr Duration kFirstLook = 2s;
constexpr Duration kSlowestLook = 60s;

Problem decodingProblem(const ConfigDecodingError& error, const std::string& path) {
    const ConfigFault& fault = error.leading();
    const std::string item = describe(fault.path);
    return {Problem::Kind::configuration, (item.empty() ? "" : item + ": ") + fault.message,
            path + ":" + std::to_string(fault.position.line) + ":" + std::to_string(fault.position.column)};
}

std::string firstLine(const std::string& text) {
    return singleLine(text.substr(0, text.find('\n')), 200);
}

} // namespace

Problem configurationProblem(const ConfigError& error, const std::string& path) {
    if (const auto* decoding = std::get_if<ConfigDecodingError>(&error))
        return decodingProblem(*decoding, path);
    if (const auto* selection = std::get_if<ConfigFileSelectionError>(&error))
        return decodingProblem(selection->underlying, selection->url);
    return {Problem::Kind::configuration, firstLine(describe(error)), path};
}

std::vector<Problem> capabilityProblems(const PluginRegistry& registry,
                                        const std::set<std::string>& usedPlugins) {
    using Kind = PluginStatus::Kind;
    std::vector<Problem> problems;
    for (const auto& plugin : registry.descriptors) {
        const Kind kind = plugin->status.kind;
        const bool isDamaged = kind == Kind::invalid || kind == Kind::conflict;
        const bool isMissed = kind == Kind::untrusted && usedPlugins.contains(plugin->manifest.id);
        if (plugin->isEnabled && (isDamaged || isMissed))
            problems.push_back(
                {Problem::Kind::capability, firstLine(inactiveReason(*plugin)), plugin->pluginURL});
    }
    return problems;
}

std::vector<Problem> latestFirst(std::vector<Problem> now, const std::vector<Problem>& before) {
    const auto isNew = [&](const Problem& problem) {
        return std::ranges::find(before, problem) == before.end();
    };
    const auto known = std::ranges::stable_partition(now, isNew);
    std::ranges::stable_sort(known, {}, [&](const Problem& problem) {
        return std::ranges::find(before, problem) - before.begin();
    });
    return now;
}

HealthMonitor::HealthMonitor(EventLoop& loop, Application& application, Pause& pause)
    : loop_(loop)
    , application_(application)
    , pause_(pause) {
    watch();
    lookAtItems();
    lookForTrouble();
    update();
}

void HealthMonitor::watch() {
    const auto soon = [this] { assessSoon(); };
    subscriptions_.push_back(application_.hotkeys().observe(HotkeyManager::Topic::status, soon));
    subscriptions_.push_back(
        application_.plugins().manager().observe([this](const PluginRegistry&) { assessSoon(); }));
    subscriptions_.push_back(pause_.observe(soon));
    subscriptions_.push_back(application_.observeTrouble([this] { refresh(); }));
    subscriptions_.push_back(application_.config().observe([this](const ConfigChange& change) {
        if (change.rootItems)
            lookAtItems();
        assessSoon();
    }));
}

void HealthMonitor::refresh() {
    lookForTrouble();
    update();
}

Subscription HealthMonitor::observe(std::function<void()> observer) {
    return observers_.add(0, std::move(observer));
}

void HealthMonitor::lookAtItems() {
    actionCount_ = 0;
    usedPlugins_.clear();
    for (const ConfigItem& item : application_.config().rootItems()) {
        if (item.type != ItemType::action || !item.isEnabled || !item.action)
            continue;
        ++actionCount_;
        usedPlugins_.insert(item.action->pluginID);
    }
}

void HealthMonitor::lookForTrouble() {
    trouble_ = application_.hotkeys().trouble();
    if (trouble_.empty()) {
        nextLook_ = kFirstLook;
        look_.reset();
        return;
    }
    look_ = loop_.after(nextLook_, [this] { refresh(); });
    nextLook_ = std::min(nextLook_ * 2, kSlowestLook);
}

void HealthMonitor::assessSoon() {
    assessment_ = loop_.after(Duration::zero(), [this] { update(); });
}

void HealthMonitor::update() {
    HotkeyManager& hotkeys = application_.hotkeys();
    HealthFacts facts{.isCapturing = hotkeys.isGlobalOn(),
                      .isSafe = application_.options().isSafe,
                      .captureError = application_.captureError(),
                      .suspensionReasons = hotkeys.suspensionReasons(),
                      .pauseLeft = pause_.left(),
                      .actionCount = actionCount_,
                      .problems = {}};
    std::vector<Problem> problems;
    if (facts.isCapturing && !trouble_.empty())
        problems.push_back({Problem::Kind::capture, trouble_, {}});
    if (const auto& error = application_.config().loadError())
        problems.push_back(configurationProblem(*error, application_.config().currentConfigPath()));
    std::ranges::copy(capabilityProblems(*application_.plugins().manager().registry(), usedPlugins_),
                      std::back_inserter(problems));
    facts.problems = latestFirst(std::move(problems), health_.problems);
    Health health = assessHealth(facts);
    if (health == health_)
        return;
    health_ = std::move(health);
    observers_.call(0);
}

} // namespace varnel
