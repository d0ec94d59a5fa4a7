#pragma once

#include "commands/WorkspaceTable.h"

namespace varnel {

/// Asks the system to open applications. Any thread.
class ApplicationLaunching {
public:
    virtual ~ApplicationLaunching() = default;
    virtual bool open(const FileURL& url) = 0;
    virtual std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) = 0;
    virtual void requestOpen(const FileURL& application, const OpenConfiguration& configuration,
                             OpenCompletion completion) = 0;
};

/// The launcher over the workspace's functions: one field each. A value.
struct WorkspaceApplicationLauncher final : ApplicationLaunching {
    decltype(WorkspaceTable::openURL) openURL;
    decltype(WorkspaceTable::applicationURL) applicationURLResolver;
    decltype(WorkspaceTable::openApplication) openApplicationRequest;

    explicit WorkspaceApplicationLauncher(const WorkspaceTable& workspace)
        : openURL(workspace.openURL)
        , applicationURLResolver(workspace.applicationURL)
        , openApplicationRequest(workspace.openApplication) {}

    bool open(const FileURL& url) override { return openURL(url); }
    std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) override {
        return applicationURLResolver(bundleIdentifier);
    }
    void requestOpen(const FileURL& application, const OpenConfiguration& configuration,
                     OpenCompletion completion) override {
        openApplicationRequest(application, configuration, std::move(completion));
    }
};

} // namespace varnel
