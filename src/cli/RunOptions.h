#pragma once

#include "cli/Verb.h"
#include "runtime/Application.h"

#include <functional>
#include <memory>

namespace varnel {

/// What `varnel run` and the application with windows were told.
ApplicationOptions applicationOptions(const VerbCall& call);

/// Starts the application, prints its status line once keys are captured, and runs the loop until it ends.
/// What `started` makes in between lives as long as the loop runs. `replaced` is asked when the start fails:
/// true when another application has taken over what the user wanted. Returns the exit status.
int runApplication(EventLoop& loop, ApplicationOptions options, Console& console,
                   const std::function<std::shared_ptr<void>(Application&)>& started = {},
                   const std::function<bool()>& replaced = {});

} // namespace varnel
