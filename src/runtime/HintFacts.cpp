#include "runtime/HintFacts.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace varnel {

struct HintFacts::State {
    Surroundings surroundings;
    std::map<std::string, bool> running; ///< by path, for all that were ever asked for
    bool isLooking = false;
    bool hasNewPaths = false;
    std::optional<TimePoint> lookedAt;
};

HintFacts::HintFacts(Surroundings surroundings)
    : state_(std::make_shared<State>(
          State{.surroundings = std::move(surroundings), .running = {}, .lookedAt = {}})) {}

HintFacts::~HintFacts() = default;

bool HintFacts::isRunning(const std::string& applicationPath) {
    const auto [entry, isNew] = state_->running.try_emplace(applicationPath, false);
    state_->hasNewPaths |= isNew;
    const bool isStale =
        !state_->lookedAt || state_->surroundings.loop.now() - *state_->lookedAt >= kFreshFor;
    if (!state_->isLooking && (state_->hasNewPaths || isStale))
        lookSoon();
    return entry->second;
}

/// One look for all paths that are asked for in this turn of the loop.
void HintFacts::lookSoon() {
    state_->isLooking = true;
    state_->surroundings.loop.post([weak = std::weak_ptr(state_)] {
        const auto asking = weak.lock();
        if (!asking)
            return;
        asking->hasNewPaths = false;
        std::vector<std::string> paths;
        for (const auto& [path, isRunning] : asking->running)
            paths.push_back(path);
        EventLoop& loop = asking->surroundings.loop;
        asking->surroundings.executor.submit(
            [weak, &loop, services = asking->surroundings.services, paths = std::move(paths)] {
                WindowServices* windows = services();
                std::map<std::string, bool> found;
                for (const std::string& path : paths)
                    found[path] = windows && windows->frontWindowOf(path);
                loop.post([weak, found = std::move(found)] {
                    const auto state = weak.lock();
                    if (!state)
                        return;
                    state->isLooking = false;
                    state->lookedAt = state->surroundings.loop.now();
                    bool hasChanged = false;
                    for (const auto& [path, isRunning] : found)
                        hasChanged |= std::exchange(state->running[path], isRunning) != isRunning;
                    if (hasChanged && state->surroundings.changed)
                        state->surroundings.changed();
                });
            });
    });
}

HintAvailability HintFacts::availability(const ConfigItem& item) const {
    return item.action ? actionAvailability(*state_->surroundings.registry(), *item.action)
                       : HintAvailability::available;
}

HintAvailability actionAvailability(const PluginRegistry& registry, const ConfigAction& action) {
    const bool isBuiltIn = action.pluginID == core::application || action.pluginID == core::shortcut;
    if (isBuiltIn || registry.descriptors.empty() || registry.activePlugin(action.pluginID))
        return HintAvailability::available;
    HintAvailability nearest = HintAvailability::missing;
    for (const auto& package : registry.descriptors) {
        if (package->manifest.id != action.pluginID)
            continue;
        if (package->status.kind == PluginStatus::Kind::disabled)
            return HintAvailability::disabled;
        if (package->status.kind == PluginStatus::Kind::untrusted)
            nearest = HintAvailability::untrusted;
    }
    return nearest;
}

} // namespace varnel
