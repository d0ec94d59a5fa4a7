#include "app/ShellSystem.h"
#include "runtime/macos/SystemLoginItem.h"

namespace varnel {

ShellSystem makeShellSystem(EventLoop& loop, Application& application) {
    ShellSystem system;
    system.login = std::make_unique<ServiceLoginItem>(systemLoginItem());
    system.surroundings = makeOverlaySurroundings(loop);
    system.askForPermission = [&application] {
        if (Permissions* permissions = application.permissions())
            permissions->request();
    };
    system.opener = "/usr/bin/open";
    return system;
}

} // namespace varnel
