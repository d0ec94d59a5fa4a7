#pragma once

#include "base/EventLoop.h"
#include "base/SerialQueue.h"
#include "config/ConfigItem.h"
#include "keyboard/HintState.h"
#include "plugins/PluginDescriptor.h"
#include "runtime/WindowServices.h"

#include <functional>
#include <memory>
#include <string>

namespace varnel {

/// What hint rows tell of the world: whether an action could run, and whether an application runs. Answers at
/// once from what is known; the windows are looked at on the executor, and again when hints are asked for a
/// while later. Main thread.
class HintFacts {
public:
    struct Surroundings {
        EventLoop& loop;
        /// Where the window server is asked. Its tasks must have ended before the services go.
        SerialExecutor& executor;
        /// Called on the executor; null while there is no window server.
        std::function<WindowServices*()> services;
        std::function<std::shared_ptr<const PluginRegistry>()> registry;
        /// An application has been found to run, or not to run any more.
        std::function<void()> changed;
    };
    static constexpr Duration kFreshFor = 1s;

    explicit HintFacts(Surroundings surroundings);
    ~HintFacts();
    HintFacts(const HintFacts&) = delete;
    HintFacts& operator=(const HintFacts&) = delete;

    /// As last seen; false for an application that was never looked for.
    bool isRunning(const std::string& applicationPath);
    [[nodiscard]] HintAvailability availability(const ConfigItem& item) const;

private:
    struct State;
    void lookSoon();
    std::shared_ptr<State> state_;
};

/// Whether a package could run the action now. Before the first scan everything is taken to be there.
HintAvailability actionAvailability(const PluginRegistry& registry, const ConfigAction& action);

} // namespace varnel
