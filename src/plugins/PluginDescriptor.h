#pragma once

#include "plugins/PluginManifest.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnel {

/// Where a package was found.
enum class PluginSourceKind {
    bundled, ///< shipped with the application: trusted as it is
    user,    ///< installed by the user: runs only after that exact content has been trusted
};
std::string_view name(PluginSourceKind kind); ///< "bundled", "user"

/// What may be done with a package. Only an active one runs actions and receives hooks.
struct PluginStatus {
    enum class Kind { untrusted, invalid, conflict, shadowed, active, disabled };
    Kind kind = Kind::active;
    std::optional<std::string> message; ///< one message a line
    friend bool operator==(const PluginStatus&, const PluginStatus&) = default;
};
std::string_view name(PluginStatus::Kind kind); ///< the case's own name

/// One package as it was found. A value; the members ending in `URL` are absolute paths.
struct PluginDescriptor {
    PluginManifest manifest; ///< of an undecodable one only `id` and `name` are set, to the folder's name
    PluginSourceKind sourceKind = PluginSourceKind::user;
    std::string pluginURL;   ///< the package folder; for a single-file manifest that file
    std::string manifestURL; ///< plugin.json, or the single-file manifest
    std::string executableURL;
    std::optional<std::string> bundleHash; ///< absent for single-file manifests and where hashing failed
    bool isTrusted = false;
    bool isEnabled = true;
    PluginStatus status;

    [[nodiscard]] bool isSingleFile() const { return pluginURL == manifestURL; }
    friend bool operator==(const PluginDescriptor&, const PluginDescriptor&) = default;
};

/// The sentence that tells why a package that is not active doesn't run.
std::string inactiveReason(const PluginDescriptor& descriptor);

/// All packages of one scan. Immutable once published; snapshots are shared between threads.
struct PluginRegistry {
    std::vector<std::shared_ptr<const PluginDescriptor>> descriptors; ///< bundled, then user, by file name
    std::map<std::string, std::shared_ptr<const PluginDescriptor>, std::less<>> activePluginsByID;

    [[nodiscard]] const PluginDescriptor* activePlugin(std::string_view id) const {
        auto it = activePluginsByID.find(id);
        return it == activePluginsByID.end() ? nullptr : it->second.get();
    }
};

} // namespace varnel
