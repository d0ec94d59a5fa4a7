#pragma once

#include "base/FileSystem.h"
#include "runtime/LaunchAtLogin.h"

#include <string>
#include <vector>

namespace varnel {

/// What desktops start at login: a desktop entry in the user's autostart folder, which takes the place of one
/// of the same name that the system has. Main thread.
class AutostartEntry final : public LaunchAtLogin {
public:
    struct Places {
        std::string userFolder;                 ///< "~/.config/autostart"
        std::vector<std::string> systemFolders; ///< "/etc/xdg/autostart"
        std::string program;                    ///< absolute path of what is to be started
        /// From `XDG_CONFIG_HOME` and `XDG_CONFIG_DIRS`.
        static Places fromEnvironment(const std::string& home, std::string program);
    };
    /// `files` must outlive the entry.
    AutostartEntry(FileSystem& files, Places places);

    LaunchAtLoginState state() override;
    std::expected<void, std::string> setEnabled(bool enabled) override;

private:
    [[nodiscard]] std::string userPath() const;
    [[nodiscard]] std::string systemPath() const; ///< empty: the system has none

    FileSystem& files_;
    Places places_;
};

} // namespace varnel
