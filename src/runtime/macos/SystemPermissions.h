#pragma once

#include "runtime/Permissions.h"

namespace varnel {

/// The system's answers about this process.
PermissionTable systemPermissions();

} // namespace varnel
