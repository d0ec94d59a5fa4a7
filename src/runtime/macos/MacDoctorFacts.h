#pragma once

#include "keyboard/CoreGraphicsKeyboardEventTapSession.h"
#include "runtime/Doctor.h"

#include <optional>

namespace varnel {

/// What the system says of this process, whose tap was granted at `level`.
DoctorMac readMacFacts(std::optional<EventTapRequest::Level> level);

} // namespace varnel
