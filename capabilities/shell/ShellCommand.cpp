#include "capabilities/shell/ShellCommand.h"

#include "base/Localized.h"
#include "base/Text.h"
#include "capabilities/shell/SimpleCommand.h"
#include "capabilities/shell/Terminals.h"
#include "capabilities/support/ChildRun.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <expected>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace varnel::capability {

namespace {

constexpr std::size_t kShownCommand = 60;

bool shellIsDash() {
    char target[64];
    const ssize_t length = ::readlink("/bin/sh", target, sizeof target);
    return length > 0 && std::string_view(target, static_cast<std::size_t>(length)).ends_with("dash");
}

std::expected<ChildRun, Response> startInTerminal(const ShellCommand& command) {
    const auto line = terminalCommandLine(command.terminalApplication, command.command);
    if (!line)
        return std::unexpected(Response::failure(line.error()));
    auto child = ChildRun::start(*line);
    if (!child)
        return std::unexpected(Response::failure(
            localized("Could not start %1: %2", {line->front(), std::strerror(child.error())})));
    return std::move(*child);
}

std::expected<ChildRun, Response> startInBackground(const ShellCommand& command) {
    if (const auto words = simpleCommandWords(command.command);
        words && shellIsDash() && shellKeepsEnvironment(environ)) {
        // A start that fails goes to the shell all the same: it words the failure, and runs scripts that have
        // no interpreter line.
        if (auto child = ChildRun::start(*words))
            return std::move(*child);
    }
    auto child = ChildRun::start({"/bin/sh", "-c", command.command});
    if (!child)
        return std::unexpected(Response::failure(
            localized("Could not start %1: %2", {"/bin/sh", std::strerror(child.error())})));
    return std::move(*child);
}

/// Commands start in the home folder, with a `PWD` that says so.
void enterHome() {
    char folder[PATH_MAX];
    if (const char* home = std::getenv("HOME"); home && *home == '/' && ::chdir(home) == 0)
        ::setenv("PWD", home, 1);
    else if (::getcwd(folder, sizeof folder))
        ::setenv("PWD", folder, 1);
}

Response report(int status, const std::string& errorLine) {
    const bool isFine = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (isFine && errorLine.empty())
        return {};
    return {isFine, describeEnd(localized("The command"), status, errorLine)};
}

} // namespace

Response runShellCommand(const ShellCommand& command) {
    if (trimmed(command.command).empty())
        return Response::failure(localized("The action has no command."));
    enterHome();
    auto child = command.openInTerminal ? startInTerminal(command) : startInBackground(command);
    if (!child)
        return child.error();
    if (const auto status = child->wait(command.openInTerminal ? kTerminalOpensWithin : kReportWithin))
        return report(*status, child->errorLine());
    child->keepReading();
    return {true, localized("Started: %1", {singleLine(trimmed(command.command), kShownCommand)})};
}

} // namespace varnel::capability
