#include "activation/macos/SystemWindows.h"
#include "base/PosixFileSystem.h"
#include "capabilities/window/WindowArranging.h"

#include <climits>
#include <unistd.h>

namespace varnel::capability {
namespace {

/// The user's own folder of files that may go: window numbers do not outlive the session either.
std::string framesPath() {
    char folder[PATH_MAX] = "";
    if (confstr(_CS_DARWIN_USER_TEMP_DIR, folder, sizeof folder) == 0)
        return {};
    return appendPath(folder, "varnel-window-frames.json");
}

} // namespace

std::expected<void, std::string> arrangeFrontWindow(WindowArrangement arrangement) {
    PosixFileSystem files;
    WindowFrameStore store(files, framesPath());
    PrivateWindowServer server = systemWindowServer();
    AccessibilityArranging arranging(systemWindowArranging(server), store, getppid());
    if (const auto done = arranging.arrange(arrangement); !done)
        return std::unexpected(done.error().message);
    return {};
}

} // namespace varnel::capability
