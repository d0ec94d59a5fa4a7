#include "app/ShellSystem.h"
#include "app/linux/PanelWatch.h"
#include "base/PosixFileSystem.h"
#include "runtime/linux/AutostartEntry.h"

namespace varnel {

namespace {

/// The entry with files of its own.
class OwnAutostartEntry final : public LaunchAtLogin {
public:
    explicit OwnAutostartEntry(AutostartEntry::Places places)
        : entry_(files_, std::move(places)) {}
    LaunchAtLoginState state() override { return entry_.state(); }
    std::expected<void, std::string> setEnabled(bool enabled) override { return entry_.setEnabled(enabled); }

private:
    PosixFileSystem files_;
    AutostartEntry entry_;
};

} // namespace

ShellSystem makeShellSystem(EventLoop& loop, Application& application) {
    const ApplicationOptions& options = application.options();
    ShellSystem system;
    system.login = std::make_unique<OwnAutostartEntry>(AutostartEntry::Places::fromEnvironment(
        options.paths.home, appendPath(options.programFolder, "varnel-app")));
    system.surroundings = makeOverlaySurroundings(loop);
    system.whenPanelIsReady = whenPanelIsReady;
    system.opener = "xdg-open";
    return system;
}

} // namespace varnel
