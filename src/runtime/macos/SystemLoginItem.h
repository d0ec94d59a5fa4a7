#pragma once

#include "runtime/ServiceLoginItem.h"

namespace varnel {

/// The service of the application's own bundle.
LoginItemTable systemLoginItem();

} // namespace varnel
