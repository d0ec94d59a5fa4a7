#pragma once

#include "activation/LabelKeeper.h"
#include "base/EventLoop.h"
#include "base/SerialQueue.h"
#include "keyboard/DynamicChoices.h"
#include "runtime/WindowServices.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace varnel {

/// What the resolvers below share; all of it must outlive them.
struct WindowChoiceSurroundings {
    EventLoop& loop;
    /// Where the window server is asked. Not the command queue: a command that runs must not hold up a
    /// choice.
    SerialExecutor& executor;
    /// Called on the executor; null while there is no window server.
    std::function<WindowServices*()> services;
    ProcessIdentifier ownProcess = 0;
};

/// What there is to choose, for one item; on the executor.
using ChoiceMaker =
    std::function<std::expected<DynamicChoiceList, std::string>(WindowServices&, const ConfigItem&)>;

/// The windows of the application that an item opens, when it wants its user to choose. An application that
/// is not running yields one choice, which opens it.
class WindowChoices {
public:
    explicit WindowChoices(ProcessIdentifier ownProcess)
        : ownProcess_(ownProcess) {}
    std::expected<DynamicChoiceList, std::string> make(WindowServices& services, const ConfigItem& item);

private:
    ProcessIdentifier ownProcess_;
    std::map<std::string, LabelKeeper> labels_; ///< by the application's path
};

/// The running applications, for an item that names none.
class RunningApplicationChoices {
public:
    explicit RunningApplicationChoices(ProcessIdentifier ownProcess)
        : ownProcess_(ownProcess) {}
    std::expected<DynamicChoiceList, std::string> make(WindowServices& services, const ConfigItem& item);

private:
    ProcessIdentifier ownProcess_;
    LabelKeeper labels_;
};

/// Registers both under `kWindowChoices` and `kRunningApplicationChoices`. Main thread.
void addWindowChoiceResolvers(DynamicChoiceRegistry& registry, const WindowChoiceSurroundings& surroundings);

} // namespace varnel
