#include "commands/ApplicationCommand.h"

#include "base/PosixFileSystem.h"
#include "commands/ApplicationActivationCoordinator.h"
#include "tests/commands/CommandDoubles.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

/// A workspace whose answers a row gives, under the real coordinator.
struct Workspace {
    TemporaryFolder folder;
    PosixFileSystem files;
    RecordingLog log;
    std::vector<std::string> requests;
    std::vector<std::string> openable; ///< by plain opening
    std::map<std::string, std::string> installed;
    OpenCompletion completion;
    OpenConfiguration configuration;
    WorkspaceApplicationLauncher launcher{
        {.openURL =
             [this](const FileURL& url) {
                 requests.push_back("url " + url.path);
                 return std::ranges::find(openable, url.path) != openable.end();
             },
         .applicationURL = [this](const std::string& wanted) -> std::optional<FileURL> {
             const auto found = installed.find(wanted);
             return found == installed.end() ? std::nullopt : std::optional(FileURL::fromPath(found->second));
         },
         .openApplication =
             [this](const FileURL& url, const OpenConfiguration& how, OpenCompletion done) {
                 requests.push_back("application " + url.path);
                 configuration = how;
                 completion = std::move(done);
             },
         .bundleIdentifier = {},
         .frontmostProcessIdentifier = {}}};
    ApplicationActivationCoordinator coordinator{launcher, files, log};
    std::function<std::optional<std::string>(const FileURL&)> identifier = [](const FileURL& url) {
        return url.path.contains("Moved") ? std::optional<std::string>("org.example.moved") : std::nullopt;
    };

    std::optional<std::string> run(const std::string& path) {
        ApplicationCommand command({"My App", path}, {coordinator, identifier, log});
        return command.execute();
    }
};

TEST(ApplicationCommand, ReportsAnExistingPathAtOnceWhateverComesLater) {
    Workspace workspace;
    workspace.folder.write("Some App.app/x", "");
    const std::string application = workspace.folder.path("Some App.app");
    EXPECT_EQ(workspace.run(application + "/"), "Launched: Some App.app");
    EXPECT_EQ(workspace.requests, std::vector<std::string>{"application " + application});
    EXPECT_EQ(workspace.configuration,
              (OpenConfiguration{.activates = true, .allowsRunningApplicationSubstitution = true}));
    EXPECT_EQ(workspace.log.take(),
              logged("ApplicationActivation", "debug",
                     {"applicationCommand.start path=" + application + "/", "open.start path=" + application,
                      "open.workspace.result=true path=" + application,
                      "applicationCommand.open=true path=" + application + "/"}));
    struct Row {
        OpenOutcome outcome;
        std::string line;
    };
    for (const Row& row : {Row{{true, std::nullopt}, "true path=" + application + " error=nil"},
                           Row{{false, std::nullopt}, "false path=" + application + " error=nil"},
                           Row{{true, "slow"}, "false path=" + application + " error=slow"},
                           Row{{false, "gone"}, "false path=" + application + " error=gone"}}) {
        workspace.completion(row.outcome);
        EXPECT_EQ(workspace.log.take(),
                  logged("ApplicationActivation", "debug", {"open.workspace.completion result=" + row.line}));
    }
}

TEST(ApplicationCommand, FindsItsWayWithoutTheFile) {
    using Strings = std::vector<std::string>;
    const std::string failure = "Failed to launch application: My App";
    const std::string here = "/nowhere/A.app", moved = "/nowhere/Moved.app",
                      there = "/elsewhere/New Name.app";
    struct Row {
        std::string name, path;
        Strings openable;
        bool isInstalledElsewhere;
        std::string message;
        Strings tried;
        std::string lastLine;
    };
    const Row rows[] = {
        {"plain opening", here, {here}, false, "Launched: A.app", {here}, ""},
        {"no bundle there", here, {there}, true, failure, {here}, "finish=false path=" + here},
        {"identifier of nothing installed",
         moved,
         {there},
         false,
         failure,
         {moved},
         "finish=false path=" + moved},
        {"moved",
         moved,
         {there},
         true,
         "Launched: New Name.app",
         {moved, there},
         "bundleFallback=true path=" + there},
        {"moved, but refused", moved, {}, true, failure, {moved, there}, "finish=false path=" + moved},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Workspace workspace;
        workspace.openable = row.openable;
        if (row.isInstalledElsewhere)
            workspace.installed["org.example.moved"] = there;
        EXPECT_EQ(workspace.run(row.path), row.message);
        Strings requests, lines{"applicationCommand.start path=" + row.path};
        for (const std::string& path : row.tried) {
            const std::string opens = std::ranges::count(row.openable, path) ? "true path=" : "false path=";
            requests.push_back("url " + path);
            lines.insert(lines.end(), {"open.start path=" + path, "open.workspace.result=false path=" + path,
                                       "open.direct.result=" + opens + path});
            if (path == row.path)
                lines.push_back("applicationCommand.open=" + opens + path);
        }
        if (!row.lastLine.empty())
            lines.push_back("applicationCommand." + row.lastLine);
        EXPECT_EQ(workspace.requests, requests);
        EXPECT_EQ(workspace.log.take(), logged("ApplicationActivation", "debug", lines));
    }

    Workspace workspace;
    EXPECT_EQ(workspace.run(""), std::nullopt);
    EXPECT_EQ(workspace.requests, Strings{});
    EXPECT_EQ(workspace.log.take(), Strings{});
}

} // namespace
} // namespace varnel
