#pragma once

#include "commands/ProgramStart.h"

namespace varnel {

/// Starts a program that has nothing to do with us: a session of its own, no descriptor of ours, the null
/// device as input and outputs, default signal dispositions, nothing blocked. It is no child of ours, so
/// there is nothing to wait for, and it lives on when we end. A text file without "#!" runs in /bin/sh. Any
/// thread; that thread is held up until the program has been loaded.
std::expected<void, ProgramStartError> startDetached(const ProgramStart& start);

} // namespace varnel
