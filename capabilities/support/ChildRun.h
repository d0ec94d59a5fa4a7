#pragma once

#include "base/UniqueFd.h"

#include <chrono>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace varnel::capability {

/// A program started for the user, in a process group of its own, with no descriptor of ours but a pipe for
/// its standard error. One at a time in a process.
class ChildRun {
public:
    /// Starts `words[0]`, looked for in PATH. The error number of a failed start.
    static std::expected<ChildRun, int> start(const std::vector<std::string>& words);

    /// The wait status once it has ended, none when it still runs after `limit`.
    std::optional<int> wait(std::chrono::milliseconds limit);
    /// The last line of what it wrote to its standard error so far, made readable.
    [[nodiscard]] std::string errorLine() const;
    /// Leaves a process behind that reads and drops what the program still writes, so that it never blocks
    /// nor dies of a closed pipe.
    void keepReading() const;
    /// Ends the program and whatever it started in its group.
    void end() const;

private:
    ChildRun() = default;
    bool readErrors();
    void drainWhatIsThere();

    pid_t child_ = -1;
    UniqueFd errors_;
    std::string errorText_; ///< the last few kilobytes
};

/// "ended with status 3: text" or "was ended by signal 9: text".
std::string describeEnd(std::string_view what, int waitStatus, std::string_view errorLine);

} // namespace varnel::capability
