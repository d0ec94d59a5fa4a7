#pragma once

#include "base/UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace varnel::test {

/// A program that a live test runs beside itself, line by line. Killed by its id when this value goes.
class ChildProcess {
public:
    /// `environment` are NAME=VALUE additions.
    explicit ChildProcess(const std::vector<std::string>& command,
                          const std::vector<std::string>& environment = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t id() const { return process_; }
    void signal(int number) const;
    void write(const std::string& line) const;
    /// The next line of its output; nothing when none comes in time.
    std::optional<std::string> readLine(std::chrono::milliseconds patience = std::chrono::seconds(5));
    /// Reads until a line equals `line`; false when it does not come.
    bool readUntil(const std::string& line, std::chrono::milliseconds patience = std::chrono::seconds(5));
    /// Reads what has come until now, without waiting.
    std::vector<std::string> readAvailable();
    /// The exit status (128 + signal) once it has ended by itself; nothing when it does not in time.
    std::optional<int> wait(std::chrono::milliseconds patience = std::chrono::seconds(5));

private:
    pid_t process_ = -1;
    UniqueFd input_, output_;
    std::string pending_;
};

} // namespace varnel::test
