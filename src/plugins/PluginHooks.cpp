#include "plugins/PluginHooks.h"

#include "base/Text.h"

#include <cstdlib>

namespace varnel {

PluginHooks::PluginHooks(PluginManager& manager, SerialExecutor& queue, LogSink& log, bool isTestHost)
    : manager_(manager)
    , queue_(queue)
    , log_(log)
    , isTestHost_(isTestHost) {}

void PluginHooks::fire(PluginHook hook, const std::string& configurationPath,
                       const PluginSettings& settings) {
    if (isTestHost_)
        return;
    for (const auto& descriptor : manager_.registry()->descriptors) {
        if (descriptor->status.kind != PluginStatus::Kind::active || !descriptor->manifest.wantsHook(hook))
            continue;
        PluginHookRequest request;
        request.pluginID = descriptor->manifest.id;
        request.hook = hook;
        if (auto own = settings.find(request.pluginID); own != settings.end())
            request.settings = own->second;
        request.context.configPath = configurationPath;
        if (const auto& frontmost = manager_.options().frontmostApplication)
            request.context.frontmostAppBundleID = frontmost();
        queue_.submit([run = manager_.runHook(request), hook, id = request.pluginID, &log = log_] {
            constexpr std::size_t kLineLength = 500;
            if (auto result = run(); !result)
                log.write(LogLevel::error, kPluginLog,
                          singleLine("hook " + std::string(jsonName(hook)) + " of " + id +
                                         " failed: " + result.error(),
                                     kLineLength));
        });
    }
}

bool isTestHost() {
    return std::getenv("XCTestConfigurationFilePath") != nullptr;
}

} // namespace varnel
