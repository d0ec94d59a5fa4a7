#pragma once

#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// One operation of the AeroSpace window manager that an action of "core.aerospace" can name.
struct WindowManagerOperation {
    /// What the operation needs beside its identifier.
    enum class Needs {
        nothing,
        workspace,      ///< the parameter "workspace": a workspace's name
        monitorPattern, ///< the parameter "monitorPattern"
        arguments,      ///< takes the parameter "arguments" in place of the example's; optional
    };
    std::string_view id;
    std::string_view description; ///< a sentence; the English text is the localisation key
    std::string_view example;     ///< the command line as shown to the user
    Needs needs = Needs::nothing;
};

/// All 68 operations, in the order in which lists show them.
std::span<const WindowManagerOperation> windowManagerOperations();
/// The operation an action without the parameter "operation" means.
inline constexpr std::string_view kDefaultWindowManagerOperation = "focus-left";
/// Exact, case-sensitive look-up; null when there is no such operation.
const WindowManagerOperation* findWindowManagerOperation(std::string_view id);
/// The name of the parameter an operation takes; empty when none.
std::string_view parameterName(WindowManagerOperation::Needs needs);

/// The tool's name and its arguments, each one argument of the process whatever it contains. `value` is the
/// parameter that the operation takes; an operation that needs one and gets an empty value is an error (a
/// sentence).
std::expected<std::vector<std::string>, std::string>
windowManagerCommandLine(const WindowManagerOperation& operation, std::string_view value);

} // namespace varnel
