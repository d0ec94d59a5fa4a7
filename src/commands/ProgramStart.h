#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// A program to start on its own.
struct ProgramStart {
    std::string program;                ///< the path of its file
    std::vector<std::string> arguments; ///< from the program's name on
    /// "NAME=value"; shared, because it is long and the same for every start. Null is none.
    std::shared_ptr<const std::vector<std::string>> environment;
    std::string folder; ///< the working folder; empty: ours
    friend bool operator==(const ProgramStart&, const ProgramStart&) = default;
};

/// Why a program did not start.
struct ProgramStartError {
    std::string operation; ///< "execute", "enter folder", "create a process"
    std::string path;
    int code = 0;
    friend bool operator==(const ProgramStartError&, const ProgramStartError&) = default;
};
/// "Could not <operation> <path>: <system's text>".
std::string describe(const ProgramStartError& error);

/// Returns when the program runs or is known not to.
using ProgramStarter = std::function<std::expected<void, ProgramStartError>(const ProgramStart&)>;

} // namespace varnel
