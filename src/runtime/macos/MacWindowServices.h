#pragma once

#include "activation/macos/SystemWindows.h"
#include "runtime/WindowServices.h"

namespace varnel {

/// The windows of macOS with the launcher's rules for which of them belong to an application. The log must
/// outlive it.
class MacWindowServices final : public WindowServices {
public:
    explicit MacWindowServices(LogSink& log);
    std::expected<std::vector<RunningWindow>, WindowError> windows() override { return windows_.windows(); }
    std::expected<void, WindowError> activate(const RunningWindow& window) override {
        return windows_.activate(window);
    }
    std::optional<WindowNumber> frontWindowOf(const std::string& applicationPath) override;

private:
    SystemWindows windows_;
};

} // namespace varnel
