#pragma once

#include "commands/FileURL.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace varnel {

/// How an application is to be opened.
struct OpenConfiguration {
    bool activates = true;
    bool allowsRunningApplicationSubstitution = true;
    friend bool operator==(const OpenConfiguration&, const OpenConfiguration&) = default;
};

/// What became of opening an application.
struct OpenOutcome {
    bool hasApplication = false;
    std::optional<std::string> error; ///< the system's description
};
/// May be called on any thread, before or after the request has returned; at most once.
using OpenCompletion = std::function<void(OpenOutcome)>;

/// What the workspace of the platform offers to commands. The functions may be called on any thread.
struct WorkspaceTable {
    /// Plain opening of a URL; false when refused.
    std::function<bool(const FileURL&)> openURL;
    /// The installed application with this bundle identifier.
    std::function<std::optional<FileURL>(const std::string& bundleIdentifier)> applicationURL;
    /// Asks for the application; the outcome comes to the completion.
    std::function<void(const FileURL&, const OpenConfiguration&, OpenCompletion)> openApplication;
    /// The identifier of the bundle at a place; none when there is no bundle or no identifier.
    std::function<std::optional<std::string>(const FileURL&)> bundleIdentifier;
    /// The process of the application in front.
    std::function<std::optional<std::int32_t>()> frontmostProcessIdentifier;
};

} // namespace varnel
