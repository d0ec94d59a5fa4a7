#pragma once

#include "commands/FileURL.h"

#include <optional>
#include <string>

namespace varnel {

/// Opens applications or brings them forward. Called on the command-execution queue.
class ApplicationActivating {
public:
    virtual ~ApplicationActivating() = default;
    /// Whether the request was accepted; does not wait for the application.
    virtual bool open(const FileURL& application) = 0;
    /// Where the application with this identifier is installed.
    virtual std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) = 0;
};

} // namespace varnel
