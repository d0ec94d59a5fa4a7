#include "capabilities/shell/Terminals.h"

#include "base/Localized.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace varnel::capability {

namespace {

struct Terminal {
    std::string_view name;
    std::string_view application;
};
constexpr Terminal kTerminals[] = {
    {"terminal", "Terminal"},   {"iterm", "iTerm"}, {"iterm2", "iTerm"},    {"warp", "Warp"},
    {"alacritty", "Alacritty"}, {"kitty", "kitty"}, {"wezterm", "WezTerm"}, {"ghostty", "Ghostty"},
};

} // namespace

std::expected<std::vector<std::string>, std::string> terminalCommandLine(const std::string& application,
                                                                         const std::string& command) {
    std::string name = application.empty() ? "Terminal" : application;
    for (const Terminal& known : kTerminals)
        if (known.name == name)
            name = known.application;
    if (name.front() == '-')
        return std::unexpected(localized("'%1' is no terminal application.", {name}));
    // Terminals run a file with this ending; it deletes itself before the command starts.
    const char* folder = std::getenv("TMPDIR");
    std::string path = std::string(folder ? folder : "/tmp") + "/varnel-XXXXXX.command";
    const int file = ::mkstemps(path.data(), static_cast<int>(std::strlen(".command")));
    if (file < 0)
        return std::unexpected(
            localized("The command file for the terminal could not be written to %1.", {path}));
    const std::string text = "#!/bin/sh\nrm -f \"$0\"\n" + command + "\nexec \"${SHELL:-/bin/sh}\"\n";
    const bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
                         ::fchmod(file, 0700) == 0;
    ::close(file);
    if (!written)
        return std::unexpected(
            localized("The command file for the terminal could not be written to %1.", {path}));
    return std::vector<std::string>{"/usr/bin/open", "-a", name, path};
}

} // namespace varnel::capability
