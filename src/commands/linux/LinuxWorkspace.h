#pragma once

#include "base/FileSystem.h"
#include "commands/ApplicationActivating.h"
#include "commands/ApplicationActivationCoordinator.h"
#include "commands/ProgramStart.h"
#include "commands/RunningApplicationWindows.h"
#include "commands/WorkspaceTable.h"

#include <expected>
#include <memory>
#include <string>
#include <vector>

namespace varnel {

/// The workspace of a Linux desktop: programs, desktop entries, and documents with the programs that open
/// them. Desktop-file identifiers ("org.gnome.Terminal", with or without ".desktop") play the part of bundle
/// identifiers; the path of an `.app` that does not exist here stands for the desktop entry of the same name.
/// An application that has a window already is brought forward instead of being started again. What is
/// started inherits no descriptor, is no child of ours and lives on after us. For one thread, the command
/// queue's.
class LinuxWorkspace {
public:
    /// What it works with; everything must outlive it. `environment` are the "NAME=value" strings that
    /// programs are started with and that folders and PATH are taken from.
    struct Surroundings {
        FileSystem& files;
        RunningApplicationWindows* windows = nullptr; ///< null: nothing is known to be running
        std::vector<std::string> environment;
        ProgramStarter start;
    };
    explicit LinuxWorkspace(Surroundings surroundings);
    ~LinuxWorkspace();

    /// Starts or brings forward; the error is the system's reason in words.
    std::expected<void, std::string> open(const FileURL& url);
    std::optional<FileURL> applicationURL(const std::string& identifier);
    static std::optional<std::string> identifier(const FileURL& url);

    /// The same as functions, without `frontmostProcessIdentifier`. The workspace must outlive them. The
    /// completion of `openApplication` comes before the request returns.
    WorkspaceTable table();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Opens like the coordinator, but tells the truth about a launch that fails: here the outcome is known
/// at once. The workspace, files and log must outlive it.
class LinuxApplicationActivator final : public ApplicationActivating {
public:
    LinuxApplicationActivator(LinuxWorkspace& workspace, FileSystem& files, LogSink& log);
    bool open(const FileURL& application) override;
    std::optional<FileURL> applicationURL(const std::string& bundleIdentifier) override;

private:
    bool hasFailed_ = false;
    WorkspaceApplicationLauncher launcher_;
    ApplicationActivationCoordinator coordinator_;
};

} // namespace varnel
