#include "base/PosixFileSystem.h"
#include "commands/ApplicationCommand.h"
#include "commands/linux/DetachedProgram.h"
#include "commands/linux/LinuxWorkspace.h"
#include "commands/x11/DesktopApplicationWindows.h"
#include "tests/commands/CommandDoubles.h"
#include "tests/support/x11/X11Desktop.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace varnel {
namespace {

using namespace std::chrono_literals;

TEST(LaunchLive, OpensATerminalOnceAndThenBringsItForward) {
    test::X11Desktop desktop;
    TemporaryFolder home;
    RecordingLog log;
    PosixFileSystem files;
    auto opened = XcbDesktop::connect(desktop.display());
    ASSERT_TRUE(opened);
    XcbDesktop& screen = **opened;
    DesktopApplicationWindows windows(screen);
    home.write(".local/share/applications/term.desktop",
               "[Desktop Entry]\nType=Application\nName=Some Terminal\nExec=xterm\n");
    LinuxWorkspace workspace(
        {.files = files,
         .windows = &windows,
         .environment = {"HOME=" + home.path(), "PATH=/usr/bin:/bin", "DISPLAY=" + desktop.display()},
         .start = startDetached});
    LinuxApplicationActivator activator(workspace, files, log);
    const std::function<std::optional<std::string>(const FileURL&)> identifier = &LinuxWorkspace::identifier;
    const auto run = [&](const std::string& path) {
        return ApplicationCommand({"Terminal", path}, {activator, identifier, log}).execute();
    };
    const auto eventually = [](const std::function<bool()>& condition) {
        for (int i = 0; i < 1000 && !condition(); ++i)
            std::this_thread::sleep_for(5ms);
        return condition();
    };

    EXPECT_EQ(run("/Applications/Some Terminal.app"), "Launched: Some Terminal.app");
    ASSERT_TRUE(eventually([&] { return windows.windows().size() == 1; }));
    const ApplicationWindow terminal = windows.windows().front();
    EXPECT_EQ(terminal.className, "XTerm");

    test::ProbeWindow other(desktop.display());
    ASSERT_NE(screen.activeWindow(), terminal.id);
    // by name, by program, by entry: each time the same window
    for (const char* path : {"/Applications/Some Terminal.app", "/usr/bin/xterm", "term"}) {
        EXPECT_TRUE(run(path)->starts_with("Launched: "));
        EXPECT_TRUE(eventually([&] { return screen.activeWindow() == terminal.id; })) << path;
        other.focus();
    }
    EXPECT_EQ(std::ranges::count(windows.windows(), "XTerm", &ApplicationWindow::className), 1);
    ::kill(terminal.process, SIGKILL);
}

} // namespace
} // namespace varnel
