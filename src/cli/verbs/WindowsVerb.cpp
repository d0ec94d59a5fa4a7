#include "activation/RunningApplications.h"
#include "base/Localized.h"
#include "base/Log.h"
#include "cli/JSONLine.h"
#include "cli/Verb.h"
#include "runtime/WindowServices.h"

#include <algorithm>
#include <charconv>

namespace varnel {

namespace {

constexpr VerbOption kOptions[] = {kJSONOption};

std::string asJSON(const RunningWindow& window) {
    JSONLine line;
    line.number("id", window.id).number("pid", window.process).text("title", window.title);
    line.text("application", window.applicationName).text("class", window.applicationID);
    if (window.desktop)
        line.number("desktop", *window.desktop);
    else
        line.null("desktop");
    line.boolean("isMinimized", window.isMinimized).boolean("isActive", window.isActive);
    return line.number("layer", window.layer).finished();
}

std::string forPeople(const RunningWindow& window) {
    std::string line = std::to_string(window.id);
    line.resize(std::max<std::size_t>(line.size() + 1, 11), ' ');
    line += window.isActive ? "* " : "  ";
    std::string application = window.applicationName;
    application.resize(std::max<std::size_t>(application.size() + 1, 20), ' ');
    line += application + windowTitle(window);
    const std::string place = windowPlace(window);
    return place.empty() ? line : line + "  (" + place + ")";
}

int list(const std::vector<RunningWindow>& windows, bool json, Console& console) {
    std::string text = "[";
    for (const RunningWindow& window : windows) {
        if (json)
            text += (text.size() > 1 ? "," : "") + asJSON(window);
        else if (window.layer == 0)
            console.out.line(forPeople(window));
    }
    if (json)
        console.out.line(text + "]");
    return ExitStatus::fine;
}

/// Decimal, or hexadecimal as other tools show it ("0x400003").
std::optional<WindowNumber> parseIdentifier(std::string_view text) {
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal)
        text.remove_prefix(2);
    WindowNumber number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, isHexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

int focus(WindowServices& services, const std::vector<RunningWindow>& windows, const VerbCall& call,
          Console& console) {
    const auto number = parseIdentifier(call.arguments[1]);
    const auto window = number ? std::ranges::find(windows, *number, &RunningWindow::id) : windows.end();
    if (window == windows.end())
        return fail(console, localized("there is no window '%1'", {call.arguments[1]}));
    const auto done = services.activate(*window);
    if (call.has(kJSONOption.name)) {
        JSONLine line;
        line.boolean("success", done.has_value());
        console.out.line(done ? line.finished() : line.text("message", done.error().message).finished());
    } else if (!done) {
        console.complain(done.error().message);
    }
    return done ? ExitStatus::fine : ExitStatus::no;
}

int run(const VerbCall& call, Console& console) {
    const bool isFocus = !call.arguments.empty() && call.arguments[0] == "focus";
    const bool isList = call.arguments.empty() || call.arguments[0] == "list";
    if ((!isFocus && !isList) || call.arguments.size() != (isFocus ? 2u : call.arguments.empty() ? 0u : 1u))
        return fail(console, localized("windows takes 'list' or 'focus ID'"));
    StandardErrorLog log;
    const auto services = openWindowServices(log);
    if (!services)
        return fail(console, services.error().message);
    const auto windows = (*services)->windows();
    if (!windows)
        return fail(console, windows.error().message);
    return isFocus ? focus(**services, *windows, call, console)
                   : list(*windows, call.has(kJSONOption.name), console);
}

} // namespace

extern const Verb kWindowsVerb{.name = "windows",
                               .arguments = "[list|focus ID]",
                               .summary =
                                   "lists the windows of running applications, or brings one to the front",
                               .minimumArguments = 0,
                               .maximumArguments = 2,
                               .options = kOptions,
                               .run = run};

} // namespace varnel
