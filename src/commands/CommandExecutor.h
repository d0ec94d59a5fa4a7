#pragma once

#include "base/EventLoop.h"
#include "base/SerialQueue.h"
#include "commands/CommandFactory.h"

#include <functional>
#include <string>

namespace varnel {

/// The label of the queue on which commands run one after another, in the order in which they were triggered.
inline constexpr const char* kCommandQueueLabel = "com.brackwell.varnel.hotkeys.command-execution";

/// Runs what an item is bound to. Main thread only.
class CommandExecuting {
public:
    virtual ~CommandExecuting() = default;
    /// Takes the status line of a command that was run. Main thread.
    using Report = std::function<void(std::string statusMessage)>;
    /// Makes the item's command, queues it and returns; `report` comes in a later turn of the loop with the
    /// command's message or, when it has none, "Executed: " and the item's name. Without a command for the
    /// item `report` is called at once, before this returns, with "No handler found for action: " and the
    /// name. `report` may come after its owner is gone: let it hold a weak reference.
    virtual void execute(const ConfigItem& item, const std::string& configurationPath,
                         const PluginSettings& pluginSettings, Report report) = 0;
};

/// The real one. Everything named in the constructor must outlive it; `loop` also the tasks that are still in
/// `queue`.
class CommandExecutor final : public CommandExecuting {
public:
    CommandExecutor(CommandFactory& factory, SerialExecutor& queue, EventLoop& loop)
        : factory_(factory)
        , queue_(queue)
        , loop_(loop) {}
    void execute(const ConfigItem& item, const std::string& configurationPath,
                 const PluginSettings& pluginSettings, Report report) override;

private:
    CommandFactory& factory_;
    SerialExecutor& queue_;
    EventLoop& loop_;
};

} // namespace varnel
