#pragma once

#include "keyboard/HintState.h"
#include "keyboard/SequenceMachine.h"

#include <functional>

namespace varnel {

/// What is asked about the items behind hint rows; each may be empty.
struct HintSources {
    /// Whether the application at a path runs.
    std::function<bool(const std::string& applicationPath)> isRunning;
    /// Whether the item's action could run now. Only looks at values in memory.
    std::function<HintAvailability(const ConfigItem&)> availability;
};

/// What an overlay would show for the machine's present state. Never part of deciding a key.
HintState buildHintState(const SequenceMachine& machine, const HintSources& sources);

} // namespace varnel
