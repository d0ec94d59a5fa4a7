#include "runtime/PluginServices.h"

#include <utility>

namespace varnel {

namespace {

/// A command that cannot start before something else is ready.
class WaitingCommand final : public Command {
public:
    WaitingCommand(std::shared_future<void> ready, std::unique_ptr<Command> command)
        : ready_(std::move(ready))
        , command_(std::move(command)) {}
    std::optional<std::string> execute() override {
        ready_.wait();
        return command_->execute();
    }

private:
    std::shared_future<void> ready_;
    std::unique_ptr<Command> command_;
};

} // namespace

PluginServices::PluginServices(PluginManagerOptions options, const Surroundings& surroundings)
    : background_("com.brackwell.varnel.plugins")
    , manager_(std::move(options), surroundings.preferences, &surroundings.loop)
    , choices_("com.brackwell.varnel.choices")
    , hooks_(manager_, background_, surroundings.log, surroundings.isTestHost)
    , configurationPath_(surroundings.configurationPath)
    , ready_(scanDone_.get_future().share()) {
    registry_ = manager_.observe([this](const PluginRegistry&) { scanned(); });
}

PluginServices::~PluginServices() {
    stopWaiting();
}

void PluginServices::scan() {
    manager_.reloadInBackground(background_);
}

void PluginServices::scanned() {
    if (isReady_)
        return;
    stopWaiting();
    LoadedConfiguration loaded = latest_.value_or(LoadedConfiguration{configurationPath_(), {}});
    hooks_.fire(PluginHook::appDidLaunch, loaded.path, loaded.settings);
    if (latest_)
        hooks_.fire(PluginHook::configDidReload, loaded.path, loaded.settings);
    latest_.reset();
}

void PluginServices::stopWaiting() {
    if (!std::exchange(isReady_, true))
        scanDone_.set_value();
}

void PluginServices::configDidReload(const std::string& configurationPath, const PluginSettings& settings) {
    if (isReady_)
        hooks_.fire(PluginHook::configDidReload, configurationPath, settings);
    else
        latest_ = LoadedConfiguration{configurationPath, settings};
}

std::unique_ptr<Command> PluginServices::makePluginCommand(const std::string& displayName,
                                                           const ConfigAction& action,
                                                           const std::string& configurationPath,
                                                           const PluginSettings& pluginSettings) {
    auto command = manager_.makePluginCommand(displayName, action, configurationPath, pluginSettings);
    if (isReady_)
        return command;
    return std::make_unique<WaitingCommand>(ready_, std::move(command));
}

} // namespace varnel
