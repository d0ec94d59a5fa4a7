#include "runtime/x11/X11WindowServices.h"

#include "base/PosixFileSystem.h"
#include "commands/linux/LinuxWorkspace.h"
#include "commands/x11/DesktopApplicationWindows.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace varnel {

namespace {

/// Notes the window that the launcher would bring forward and leaves it where it is.
class NotedWindow final : public RunningApplicationWindows {
public:
    explicit NotedWindow(XcbDesktop& desktop)
        : desktop_(desktop) {}
    std::vector<ApplicationWindow> windows() override { return desktop_.windows(); }
    bool activate(WindowNumber window) override {
        noted = window;
        return true;
    }
    std::optional<WindowNumber> noted;

private:
    DesktopApplicationWindows desktop_;
};

/// A connection of its own with the services over it.
class OwnWindowServices final : public WindowServices {
public:
    OwnWindowServices(std::unique_ptr<XcbDesktop> desktop, LogSink& log)
        : desktop_(std::move(desktop))
        , services_(*desktop_, log) {}
    std::expected<std::vector<RunningWindow>, WindowError> windows() override { return services_.windows(); }
    std::expected<void, WindowError> activate(const RunningWindow& window) override {
        return services_.activate(window);
    }
    std::optional<WindowNumber> frontWindowOf(const std::string& applicationPath) override {
        return services_.frontWindowOf(applicationPath);
    }

private:
    std::unique_ptr<XcbDesktop> desktop_;
    X11WindowServices services_;
};

} // namespace

std::optional<WindowNumber> X11WindowServices::frontWindowOf(const std::string& applicationPath) {
    std::vector<std::string> environment;
    for (char** variable = environ; *variable; ++variable)
        environment.emplace_back(*variable);
    PosixFileSystem files;
    NotedWindow noted(desktop_);
    // The launcher's own rules decide which windows belong to an application; nothing may be started here.
    LinuxWorkspace workspace(
        {.files = files,
         .windows = &noted,
         .environment = std::move(environment),
         .start = [](const ProgramStart& program) -> std::expected<void, ProgramStartError> {
             return std::unexpected(ProgramStartError{"execute", program.program, EPERM});
         }});
    (void)workspace.open(FileURL::fromPath(applicationPath));
    return noted.noted;
}

std::expected<std::unique_ptr<WindowServices>, WindowError> openWindowServices(LogSink& log) {
    auto desktop = XcbDesktop::connect();
    if (!desktop)
        return std::unexpected(desktop.error());
    return std::make_unique<OwnWindowServices>(std::move(*desktop), log);
}

} // namespace varnel
