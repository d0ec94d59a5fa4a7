#pragma once

#include "activation/x11/XcbDesktop.h"
#include "commands/RunningApplicationWindows.h"

namespace varnel {

/// The windows of the X11 desktop's cached list. `desktop` must outlive it.
class DesktopApplicationWindows final : public RunningApplicationWindows {
public:
    explicit DesktopApplicationWindows(XcbDesktop& desktop)
        : desktop_(desktop) {}
    std::vector<ApplicationWindow> windows() override;
    bool activate(WindowNumber window) override;

private:
    XcbDesktop& desktop_;
};

} // namespace varnel
