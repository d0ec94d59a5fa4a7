#pragma once

#include "base/Log.h"
#include "base/SerialQueue.h"
#include "config/ConfigItem.h"
#include "plugins/PluginManager.h"

#include <string>

namespace varnel {

/// Tells the plugins that want to know about moments of the application's life: one plugin after another in
/// the order of the registry, on `queue`, their output ignored. A failing hook leaves one line in the log.
/// Main thread. The queue must have ended before the log is destroyed; the manager may go at any time.
class PluginHooks {
public:
    /// Inside a test host (`isTestHost`) no hook runs.
    PluginHooks(PluginManager& manager, SerialExecutor& queue, LogSink& log, bool isTestHost = false);

    /// Returns at once. `settings` and `configurationPath` are those of this moment.
    void fire(PluginHook hook, const std::string& configurationPath, const PluginSettings& settings);

private:
    PluginManager& manager_;
    SerialExecutor& queue_;
    LogSink& log_;
    bool isTestHost_;
};

inline constexpr std::string_view kPluginLog = "Plugins";

/// True when the environment names a test host's configuration: hooks and file watching are off then.
bool isTestHost();

} // namespace varnel
