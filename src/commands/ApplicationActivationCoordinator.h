#pragma once

#include "base/FileSystem.h"
#include "base/Log.h"
#include "commands/ApplicationActivating.h"
#include "commands/WorkspaceApplicationLauncher.h"

namespace varnel {

/// Opens what exists as an application and leaves everything else to the plain opening of URLs. Everything
/// named in the constructor must outlive it; `log` also the completions still on their way.
class ApplicationActivationCoordinator final : public ApplicationActivating {
public:
    ApplicationActivationCoordinator(ApplicationLaunching& launcher, FileSystem& files, LogSink& log)
        : launcher_(launcher)
        , files_(files)
        , log_(log) {}

    /// True for every existing file: a launch that fails later is only logged.
    bool open(const FileURL& application) override;
    std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) override;

private:
    ApplicationLaunching& launcher_;
    FileSystem& files_;
    LogSink& log_;
};

} // namespace varnel
