#pragma once

#include "base/EventLoop.h"
#include "base/LoopTasks.h"
#include "config/ConfigErrors.h"
#include "config/ConfigItem.h"
#include "plugins/PluginDescriptor.h"
#include "runtime/Health.h"

#include <set>
#include <string>
#include <vector>

namespace varnel {

class Application;
class Pause;

/// The error of a configuration that did not load, with the place where the user can mend it.
Problem configurationProblem(const ConfigError& error, const std::string& path);
/// The packages that cannot run although the user wants them to: those that are damaged or in conflict, and
/// of those that are not trusted the ones that enabled items use.
std::vector<Problem> capabilityProblems(const PluginRegistry& registry,
                                        const std::set<std::string>& usedPlugins);
/// `now` in the order to show: what was not among `before` first.
std::vector<Problem> latestFirst(std::vector<Problem> now, const std::vector<Problem>& before);

/// Keeps the health of the running application up to date. Main thread.
class HealthMonitor {
public:
    /// All must outlive the monitor; the application has been started.
    HealthMonitor(EventLoop& loop, Application& application, Pause& pause);

    [[nodiscard]] const Health& health() const { return health_; }
    /// Asks the system anew what is in the way: for the moment before somebody looks.
    void refresh();
    /// Brings the sentence up to date: what is left of a pause changes by itself.
    void update();
    /// Called in a later turn after each change.
    [[nodiscard]] Subscription observe(std::function<void()> observer);

private:
    void watch();
    void lookAtItems();
    void lookForTrouble();
    void assessSoon();

    EventLoop& loop_;
    Application& application_;
    Pause& pause_;
    Health health_;
    std::string trouble_;
    std::size_t actionCount_ = 0;
    std::set<std::string> usedPlugins_;
    Duration nextLook_{};
    Subscription look_, assessment_;
    CallbackList observers_;
    std::vector<Subscription> subscriptions_;
};

} // namespace varnel
