#pragma once

#include "base/EventLoop.h"
#include "base/Log.h"
#include "base/SerialQueue.h"
#include "commands/Command.h"
#include "plugins/PluginHooks.h"
#include "plugins/PluginManager.h"

#include <future>
#include <memory>
#include <optional>
#include <string>

namespace varnel {

/// The plugins of the running application. They are looked for in the background once the keyboard is
/// captured; a plugin's command that is made before waits for that on the command queue, and hooks are held
/// back until then. Main thread.
class PluginServices : public PluginCommandMaking {
public:
    struct Surroundings {
        EventLoop& loop;
        PreferenceStore& preferences;
        LogSink& log;
        /// The configuration file in use, also when it could not be read.
        std::function<std::string()> configurationPath;
        bool isTestHost = false;
    };
    /// All surroundings must outlive the services.
    PluginServices(PluginManagerOptions options, const Surroundings& surroundings);
    /// Lets waiting commands go on; waits for a hook or choices that run.
    ~PluginServices() override;

    [[nodiscard]] PluginManager& manager() { return manager_; }
    /// Where plugins say what there is to choose from; a hook that takes its time does not hold them up.
    [[nodiscard]] SerialExecutor& choiceQueue() { return choices_; }
    /// Where packages are looked for and hooks run; for other work that nobody waits for.
    [[nodiscard]] SerialExecutor& backgroundQueue() { return background_; }

    /// Looks for the packages; the first time, tells them of the launch afterwards.
    void scan();
    /// Tells the plugins that the configuration was loaded.
    void configDidReload(const std::string& configurationPath, const PluginSettings& settings);

    std::unique_ptr<Command> makePluginCommand(const std::string& displayName, const ConfigAction& action,
                                               const std::string& configurationPath,
                                               const PluginSettings& pluginSettings) override;

    /// Commands made before the first scan is over wait no longer.
    void stopWaiting();

private:
    void scanned();

    struct LoadedConfiguration {
        std::string path;
        PluginSettings settings;
    };

    SerialQueue background_;
    PluginManager manager_;
    SerialQueue choices_;
    PluginHooks hooks_;
    std::function<std::string()> configurationPath_;
    std::promise<void> scanDone_;
    std::shared_future<void> ready_;
    bool isReady_ = false;
    std::optional<LoadedConfiguration> latest_; ///< what hooks are told once there are any
    Subscription registry_;
};

} // namespace varnel
