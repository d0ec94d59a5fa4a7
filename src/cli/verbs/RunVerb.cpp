#include "base/Localized.h"
#include "base/MainEventLoop.h"
#include "cli/RunOptions.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace varnel {

namespace {

constexpr VerbOption kOptions[] = {
    kConfigOption,
    {"--headless", "", "no windows and no tray"},
    {"--safe", "", "the built-in configuration, no plugins of the user, nothing saved"},
    kBundledPluginsOption,
    kUserPluginsOption,
};

/// The call's options as words of a command line.
std::vector<std::string> optionWords(const VerbCall& call) {
    std::vector<std::string> words;
    for (const auto& [name, value] : call.options) {
        const auto* option = std::ranges::find(kOptions, name, &VerbOption::name);
        std::string& word = words.emplace_back(name);
        if (!option->value.empty())
            word.append("=").append(value);
    }
    return words;
}

/// Lets the application with windows take this process's place. Comes back only when that is not possible;
/// the result says why.
std::string startWithWindows(const VerbCall& call, const ApplicationOptions& options) {
    if (options.paths.display.empty() && !std::getenv("WAYLAND_DISPLAY"))
        return localized("there is no display");
    std::string program = appendPath(options.programFolder, "varnel-app");
    std::vector<std::string> words = optionWords(call);
    std::vector<char*> arguments{program.data()};
    arguments.reserve(words.size() + 2);
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

} // namespace

extern const Verb kRunVerb{
    .name = "run", .arguments = "", .summary = "starts the application", .options = kOptions, .run = run};

} // namespace varnel
