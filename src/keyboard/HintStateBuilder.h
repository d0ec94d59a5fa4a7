#pragma once

#include "keyboard/HintState.h"
#include "keyboard/SequenceMachine.h"

#include <functional>

namespace varnel {

/// What an overlay would show for the machine's present state. `isRunning` tells whether the application at a
/// path runs; it may be empty. Never part of deciding a key.
HintState buildHintState(const SequenceMachine& machine,
                         const std::function<bool(const std::string& applicationPath)>& isRunning);

} // namespace varnel
