#pragma once

#include "runtime/Doctor.h"

namespace varnel {

/// The kernel's limits, and whether one more watch, on `folder`, is within them.
DoctorWatchLimits readWatchLimits(const std::string& folder);

} // namespace varnel
