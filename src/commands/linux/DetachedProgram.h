#pragma once

#include "base/UniqueFd.h"
#include "commands/ProgramStart.h"

#include <sys/types.h>

#include <string>

namespace varnel {

/// Starts a program that has nothing to do with us: a session of its own, no descriptor of ours, the null
/// device as input and outputs, default signal dispositions, nothing blocked. It is no child of ours, so
/// there is nothing to wait for, and it lives on when we end. A text file without "#!" runs in /bin/sh. Any
/// thread; that thread is held up until the program has been loaded.
std::expected<void, ProgramStartError> startDetached(const ProgramStart& start);

/// Has programs started by a small process beside us, which saves the process that otherwise stands between
/// us and every program for a moment. Starts them directly as long as it is not prepared, or when that
/// process is gone. One thread.
class ProgramLauncher {
public:
    ProgramLauncher() = default;
    ~ProgramLauncher();
    ProgramLauncher(const ProgramLauncher&) = delete;
    ProgramLauncher& operator=(const ProgramLauncher&) = delete;

    /// `program` is the launcher's file; "" prepares nothing.
    void prepare(const std::string& program);
    /// As `startDetached`.
    std::expected<void, ProgramStartError> start(const ProgramStart& start);

private:
    UniqueFd socket_;
    pid_t process_ = -1;
    std::string message_;
};

} // namespace varnel
