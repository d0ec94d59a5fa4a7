#include "capabilities/shell/Terminals.h"

#include "base/Localized.h"

#include <algorithm>
#include <string_view>

namespace varnel::capability {

namespace {

/// How a terminal takes the program to run.
struct Terminal {
    std::string_view name;
    std::vector<std::string> option;
};

const std::vector<Terminal>& terminals() {
    static const std::vector<Terminal> known = {
        {"gnome-terminal", {"--"}},
        {"kgx", {"--"}},
        {"ptyxis", {"--"}},
        {"wezterm", {"start", "--"}},
        {"kitty", {}},
        {"foot", {}},
        {"xfce4-terminal", {"-x"}},
        {"mate-terminal", {"-x"}},
        {"terminator", {"-x"}},
        {"tilix", {"-e"}},
        {"konsole", {"-e"}},
        {"alacritty", {"-e"}},
    };
    return known;
}

} // namespace

std::expected<std::vector<std::string>, std::string> terminalCommandLine(const std::string& application,
                                                                         const std::string& command) {
    std::string program =
        application.empty() || application == "terminal" ? "x-terminal-emulator" : application;
    if (program.front() == '-')
        return std::unexpected(localized("'%1' is no terminal application.", {program}));
    const std::string_view name = std::string_view(program).substr(program.rfind('/') + 1);
    const auto known = std::ranges::find(terminals(), name, &Terminal::name);
    // Whatever else calls itself a terminal emulator understands xterm's -e with separate arguments.
    const std::vector<std::string> option =
        known == terminals().end() ? std::vector<std::string>{"-e"} : known->option;
    std::vector<std::string> line{std::move(program)};
    line.insert(line.end(), option.begin(), option.end());
    // The command travels as an argument of its own, so that no quoting can go wrong.
    for (const char* part : {"/bin/sh", "-c", "eval \"$1\"; exec \"${SHELL:-/bin/sh}\"", "varnel"})
        line.emplace_back(part);
    line.push_back(command);
    return line;
}

} // namespace varnel::capability
