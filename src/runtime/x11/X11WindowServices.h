#pragma once

#include "activation/x11/XcbDesktop.h"
#include "activation/x11/XcbWindowActivation.h"
#include "runtime/WindowServices.h"

namespace varnel {

/// Over a desktop that others may use too; it and the log must outlive the services.
class X11WindowServices final : public WindowServices {
public:
    X11WindowServices(XcbDesktop& desktop, LogSink& log)
        : desktop_(desktop)
        , activation_(desktop, log) {}

    std::expected<std::vector<RunningWindow>, WindowError> windows() override {
        return desktop_.runningWindows();
    }
    std::expected<void, WindowError> activate(const RunningWindow& window) override {
        return activation_.activate(window);
    }
    std::optional<WindowNumber> frontWindowOf(const std::string& applicationPath) override;

private:
    XcbDesktop& desktop_;
    XcbWindowActivation activation_;
};

} // namespace varnel
