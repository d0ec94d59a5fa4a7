#pragma once

#include "runtime/LaunchAtLogin.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace varnel {

/// The login item of this application as macOS keeps it; one entry for each call. Main thread.
struct LoginItemTable {
    std::function<std::int64_t()> status;                          ///< an `SMAppServiceStatus`
    std::function<std::optional<std::string>()> registerService;   ///< the error's description, if any
    std::function<std::optional<std::string>()> unregisterService; ///< the error's description, if any
};

/// Launch at login over that table. The application must be a signed bundle.
class ServiceLoginItem final : public LaunchAtLogin {
public:
    explicit ServiceLoginItem(LoginItemTable table)
        : table_(std::move(table)) {}
    LaunchAtLoginState state() override;
    std::expected<void, std::string> setEnabled(bool enabled) override;

private:
    LoginItemTable table_;
};

} // namespace varnel
