#pragma once

#include "plugins/PluginDescriptor.h"
#include "plugins/PluginProcessRunner.h"
#include "plugins/PluginTrust.h"
#include "plugins/PluginVerifiedCopies.h"

#include <expected>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace varnel {

/// Why a plugin's executable did not answer.
struct PluginLaunchError {
    std::string message;         ///< a sentence; for lapsed trust also what changed
    bool trustHasLapsed = false; ///< the package is not what was trusted
};

/// Starts the executables of active plugins: bundled ones where they are, user ones from a copy whose bytes
/// were checked against the trust record. Any thread.
class PluginLauncher {
public:
    /// `trust` must outlive the launcher.
    PluginLauncher(std::string verifiedCopiesFolder, PluginProcessLimits limits,
                   const PluginTrustStore& trust);

    std::expected<PluginProcessResult, PluginLaunchError>
    run(const PluginDescriptor& descriptor, std::string_view commandWord, std::string_view request);

    /// Removes the copy of a package that is no longer trusted.
    void forget(const std::string& hash) { copies_.forget(hash); }

private:
    std::expected<std::string, PluginLaunchError> verifiedExecutable(const PluginDescriptor& descriptor);
    std::expected<PluginProcessResult, PluginProcessError>
    start(const std::string& executable, std::string_view commandWord, std::string_view request);

    PluginProcessLimits limits_;
    const PluginTrustStore& trust_;
    PluginVerifiedCopies copies_;
};

} // namespace varnel
