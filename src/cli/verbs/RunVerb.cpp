#include "base/Localized.h"
#include "base/MainEventLoop.h"
#include "cli/RunOptions.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace varnel {

namespace {

/// Lets the application with windows take this process's place. Comes back only when that is not possible;
/// the result says why.
std::string startWithWindows(const VerbCall& call, const ApplicationOptions& options) {
    if (options.paths.display.empty() && !std::getenv("WAYLAND_DISPLAY"))
        return localized("there is no display");
    std::string program = appendPath(options.programFolder, "varnel-app");
    std::vector<std::string> words{program};
    for (const auto& [name, value] : call.options)
        words.push_back(value.empty() ? name : name + "=" + value);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execv(program.c_str(), arguments.data());
    return localized("%1 cannot be started (%2)", {program, std::strerror(errno)});
}

int run(const VerbCall& call, Console& console) {
    ApplicationOptions options = applicationOptions(call);
    if (!call.has("--headless")) {
        std::string reason = startWithWindows(call, options);
        console.complain(localized("%1; running without windows", {reason}));
    }
    const auto loop = makeMainEventLoop();
    return runApplication(*loop, std::move(options), console);
}

constexpr VerbOption kOptions[] = {
    kConfigOption,
    {"--headless", "", "no windows and no tray"},
    {"--safe", "", "the built-in configuration, no plugins of the user, nothing saved"},
    kBundledPluginsOption,
    kUserPluginsOption,
};

} // namespace

extern const Verb kRunVerb{
    .name = "run", .arguments = "", .summary = "starts the application", .options = kOptions, .run = run};

} // namespace varnel
