#pragma once

#include <functional>
#include <string>

namespace varnel {

/// Where the running application keeps what is its own. Absolute paths; nothing is created by asking.
struct RuntimePaths {
    std::string home;        ///< the user's home folder
    std::string preferences; ///< `varnel/preferences.json` in the folder for state
    std::string control;     ///< the folder of the control sockets
    std::string display;     ///< the keyboard server in use ("" is none), without its screen: ":1"

    using Variable = std::function<const char*(const char* name)>; ///< null when it is not set
    /// `$XDG_RUNTIME_DIR/varnel` holds the sockets, the folder of the preferences where that is not set;
    /// relative folders in the environment are ignored.
    static RuntimePaths from(const Variable& variable);
    static RuntimePaths fromEnvironment();

    /// The first application to start takes this socket,
    [[nodiscard]] std::string controlSocket() const;
    /// one that starts on another display while it runs takes a socket named after its display.
    [[nodiscard]] std::string displayControlSocket() const;
    /// Held locked as long as an application runs on the display; contains its process identifier.
    [[nodiscard]] std::string displayLock() const;
};

} // namespace varnel
