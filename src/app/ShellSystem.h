#pragma once

#include "overlay/OverlaySurroundings.h"
#include "runtime/Application.h"
#include "runtime/LaunchAtLogin.h"

#include <functional>
#include <memory>
#include <string>

namespace varnel {

/// The system's side of the shell, made once. All may say nothing.
struct ShellSystem {
    std::unique_ptr<LaunchAtLogin> login;
    std::unique_ptr<OverlaySurroundings> surroundings;
    /// Calls its argument once, when the icon can be made; empty: at any time.
    std::function<void(std::function<void()>)> whenPanelIsReady;
    std::function<void()> askForPermission; ///< empty: this system asks for none
    std::string opener;                     ///< the program that opens files: "xdg-open"
};

/// That of the system that the program runs on. Both must outlive it.
ShellSystem makeShellSystem(EventLoop& loop, Application& application);

} // namespace varnel
